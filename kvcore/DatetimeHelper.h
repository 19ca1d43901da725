// Between OLE dates and calendar fields.
//
// An OLE date counts days from 1899-12-30; its fraction is the time of day and counts forward in its day, before that
// date, too: -1.25 is 1899-12-29 06:00. Its calendar is the Gregorian one, from the year 100 to 9999.
#pragma once

#include <cstdint>
#include <optional>

#include "kvcore/DateTime.h"

namespace DatetimeHelper {

/// An OLE date as fields, to the nearest millisecond, which the platform's own conversion does not keep.
/// @return nothing outside the range, and for what is no finite number
std::optional<kv::DateTime> FromOADate(double date) noexcept;

/// Fields as an OLE date, to the millisecond, those begun not counted.
/// @return nothing outside the range, and for a date or time of day that there is not
std::optional<double> ToOADate(const kv::DateTime& fields) noexcept;

/// An OLE date so many minutes later, to the nearest millisecond; earlier where they are below 0.
/// @return nothing where one of the two is outside the range
std::optional<double> OffsetTimestamp(double date, std::int16_t minutes) noexcept;

}  // namespace DatetimeHelper
