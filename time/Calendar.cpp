#include "time/Calendar.h"

namespace calendar {
namespace {

constexpr std::int32_t lastYearOfOldRule = 1582;

constexpr bool HasLeapDay(std::int32_t year) noexcept {
    return kv::IsLeapYear(year, year > lastYearOfOldRule ? kv::Calendar::Gregorian : kv::Calendar::Julian);
}

/// The calendar that has a date's place in a mode, by its year.
constexpr kv::Calendar CalendarOf(std::int32_t year, Mode mode) noexcept {
    return mode == Mode::Julian && year <= lastYearOfOldRule ? kv::Calendar::Julian : kv::Calendar::Gregorian;
}

/// More days than there are between the ends of the years.
constexpr std::int64_t mostDays = 25'000'000;

constexpr std::int64_t FloorDivide(std::int64_t number, std::int64_t divisor) noexcept {
    return number / divisor - (number % divisor < 0 ? 1 : 0);
}
constexpr std::int64_t FloorRemainder(std::int64_t number, std::int64_t divisor) noexcept {
    const std::int64_t rest = number % divisor;
    return rest < 0 ? rest + divisor : rest;
}

}  // namespace

bool IsDate(std::int32_t year, std::int32_t month, std::int32_t day) noexcept {
    return year != 0 && month >= 1 && month <= 12 && day >= 1 && day <= kv::MonthLength(month, HasLeapDay(year));
}

bool IsValid(const kv::DateTime& fields) noexcept {
    return IsDate(fields.year, fields.month, fields.day) && kv::IsTimeOfDay(fields);
}

bool IsPossible(const kv::DateTime& fields) noexcept {
    constexpr std::int32_t leapYear = 4;
    return fields.year != 0 && IsDate(leapYear, fields.month, fields.day) && kv::IsTimeOfDay(fields);
}

Outcome Add(kv::DateTime& fields, Mode mode, std::int64_t days, std::int64_t nanoseconds) noexcept {
    if (days < -mostDays || days > mostDays) return Outcome::OutOfRange;
    const std::int64_t time = kv::TimeOfDay(fields) + nanoseconds;
    const std::int64_t carry = FloorDivide(time, kv::nanosecondsPerDay);
    const std::int64_t daysToAdd = days + carry;
    if (daysToAdd != 0) {
        const auto before = DayNumberOf(fields, mode);
        if (!before) return Outcome::NoDayNumber;
        if (!SetDate(fields, *before + daysToAdd, mode)) return Outcome::OutOfRange;
    }
    kv::SetTimeOfDay(fields, FloorRemainder(time, kv::nanosecondsPerDay));
    return Outcome::Done;
}

Outcome AddUnits(kv::DateTime& fields, Mode mode, std::int64_t amount, std::int64_t unit) noexcept {
    const std::int64_t unitsPerDay = kv::nanosecondsPerDay / unit;
    return Add(fields, mode, FloorDivide(amount, unitsPerDay), FloorRemainder(amount, unitsPerDay) * unit);
}

Outcome AddLength(kv::DateTime& fields, Mode mode, std::int64_t seconds, std::int32_t nanoseconds) noexcept {
    const std::int64_t inDay = FloorRemainder(seconds, kv::secondsPerDay) * kv::nanosecondsPerSecond + nanoseconds;
    return Add(fields, mode, FloorDivide(seconds, kv::secondsPerDay), inDay);
}

Outcome AddWeeks(kv::DateTime& fields, Mode mode, std::int64_t amount) noexcept {
    if (amount < -mostDays || amount > mostDays) return Outcome::OutOfRange;
    return Add(fields, mode, amount * 7, 0);
}

Outcome AddMonths(kv::DateTime& fields, Mode mode, std::int64_t months) noexcept {
    if (months == 0) return Outcome::Done;
    const std::int64_t before = kv::AstronomicalYear(fields.year) * 12 + fields.month - 1;
    const std::int64_t after = before + months;
    const std::int64_t astronomical = FloorDivide(after, 12);
    constexpr std::int64_t earliest = kv::AstronomicalYear(earliestYear);
    if (astronomical < earliest || astronomical > latestYear) return Outcome::OutOfRange;
    const auto year = static_cast<std::int32_t>(astronomical);
    const auto month = static_cast<std::int32_t>(after - astronomical * 12 + 1);
    const std::int32_t length = kv::MonthLength(month, kv::IsLeapYear(year, CalendarOf(year, mode)));
    fields.year = static_cast<std::int16_t>(kv::WrittenYear(year));
    fields.month = static_cast<std::int16_t>(month);
    if (fields.day > length) fields.day = static_cast<std::int16_t>(length);
    return Outcome::Done;
}

bool StepSecond(kv::DateTime& fields) noexcept {
    const std::int64_t time = kv::TimeOfDay(fields) + kv::nanosecondsPerSecond;
    if (time >= kv::nanosecondsPerDay) {
        if (IsDate(fields.year, fields.month, fields.day + 1)) {
            ++fields.day;
        } else if (fields.month < 12) {
            ++fields.month;
            fields.day = 1;
        } else {
            if (fields.year == latestYear) return false;
            fields.year = static_cast<std::int16_t>(fields.year == -1 ? 1 : fields.year + 1);
            fields.month = 1;
            fields.day = 1;
        }
    }
    kv::SetTimeOfDay(fields, time % kv::nanosecondsPerDay);
    return true;
}

}  // namespace calendar
