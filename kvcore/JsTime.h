// Dates as JSON has them: milliseconds since 1970-01-01T00:00:00 UTC.
#pragma once

#include <cmath>

namespace kv {

inline constexpr double millisecondsPerDay = 86'400'000.0;
inline constexpr double daysTo1970 = 25'569.0;  ///< from 1899-12-30, where OLE dates begin

/// A time of JSON as an OLE date, whose fraction counts forward in its day, before 1899-12-30, too.
inline double FromJsTime(double milliseconds) noexcept {
    const double day = std::floor(milliseconds / millisecondsPerDay);
    const double inDay = (milliseconds - day * millisecondsPerDay) / millisecondsPerDay;
    const double oleDay = day + daysTo1970;
    return oleDay < 0 ? oleDay - inDay : oleDay + inDay;
}

/// An OLE date as a time of JSON, to the nearest millisecond.
inline double ToJsTime(double date) noexcept {
    const double day = std::trunc(date);
    return (day - daysTo1970) * millisecondsPerDay + std::round(std::fabs(date - day) * millisecondsPerDay);
}

}  // namespace kv
