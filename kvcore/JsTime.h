// Dates as JSON has them: milliseconds since 1970-01-01T00:00:00 UTC.
#pragma once

#include <cmath>

#include "kvcore/CivilDay.h"

namespace kv {

inline constexpr double millisecondsPerDay = 86'400'000.0;
inline constexpr double daysTo1970 = 25'569.0;  ///< from 1899-12-30, where OLE dates begin

/// The days that OLE dates can be, from 0100-01-01 to 9999-12-31, as times of JSON.
inline constexpr std::int32_t firstOleDay = DayNumber({100, 1, 1});
inline constexpr double firstOleMoment = (firstOleDay - dayNumber1970) * millisecondsPerDay;
inline constexpr double endOfOleMoments = (DayNumber({10'000, 1, 1}) - dayNumber1970) * millisecondsPerDay;

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
