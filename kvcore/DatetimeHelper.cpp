#include "kvcore/DatetimeHelper.h"

#include "kvcore/CivilDay.h"
#include "kvcore/JsTime.h"

namespace DatetimeHelper {
namespace {

constexpr std::int64_t millisecondsPerDay = kv::secondsPerDay * 1'000;
constexpr double millisecondsPerMinute = 60'000;

/// Whether an OLE date can be at a moment of JSON's time.
bool IsInRange(double moment) noexcept {
    return moment >= kv::firstOleMoment && moment < kv::endOfOleMoments;
}

}  // namespace

std::optional<kv::DateTime> FromOADate(double date) noexcept {
    const double moment = kv::ToJsTime(date);
    if (!IsInRange(moment)) return {};
    const auto milliseconds = static_cast<std::int64_t>(moment - kv::firstOleMoment);
    const kv::CivilDate civil =
        kv::DateOf(kv::firstOleDay + static_cast<std::int32_t>(milliseconds / millisecondsPerDay));
    kv::DateTime fields{.year = static_cast<std::int16_t>(civil.year),
                        .month = static_cast<std::int16_t>(civil.month),
                        .day = static_cast<std::int16_t>(civil.day)};
    kv::SetTimeOfDay(fields, milliseconds % millisecondsPerDay * kv::nanosecondsPerMillisecond);
    return fields;
}

std::optional<double> ToOADate(const kv::DateTime& fields) noexcept {
    if (fields.month < 1 || fields.month > 12 || fields.day < 1 ||
        fields.day > kv::MonthLength(fields.month, kv::IsLeapYear(fields.year)) || !kv::IsTimeOfDay(fields))
        return {};
    const std::int32_t day = kv::DayNumber({fields.year, fields.month, fields.day}) - kv::dayNumber1970;
    const std::int64_t milliseconds = kv::TimeOfDay(fields) / kv::nanosecondsPerMillisecond;
    const auto moment = static_cast<double>(day * millisecondsPerDay + milliseconds);
    if (!IsInRange(moment)) return {};
    return kv::FromJsTime(moment);
}

std::optional<double> OffsetTimestamp(double date, std::int16_t minutes) noexcept {
    const double before = kv::ToJsTime(date);
    const double moment = before + minutes * millisecondsPerMinute;
    if (!IsInRange(before) || !IsInRange(moment)) return {};
    return kv::FromJsTime(moment);
}

}  // namespace DatetimeHelper
