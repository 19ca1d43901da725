// Dates to day numbers and back. Years are astronomical: 0 is the year before 1.
#pragma once

#include <cstdint>

namespace kv {

struct CivilDate {
    std::int32_t year = 1;
    std::int32_t month = 1;
    std::int32_t day = 1;

    friend bool operator==(const CivilDate&, const CivilDate&) noexcept = default;
};

enum class Calendar : std::uint8_t { Gregorian, Julian };

constexpr bool IsLeapYear(std::int32_t year, Calendar calendar = Calendar::Gregorian) noexcept {
    return year % 4 == 0 && (calendar == Calendar::Julian || year % 100 != 0 || year % 400 == 0);
}

/// The length of a month, 1 to 12, of a year that is a leap year or not.
constexpr std::int32_t MonthLength(std::int32_t month, bool isLeapYear) noexcept {
    constexpr std::int8_t lengths[] = {0, 31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
    return lengths[month] + (month == 2 && isLeapYear ? 1 : 0);
}

namespace detail {

// Within, years begin in March, so that the day that comes and goes is the last one, and are counted from so far before
// the year 0 that none is below 0.
inline constexpr std::int32_t cyclesBefore = 82;  // of 400 years
inline constexpr std::uint32_t yearsBefore = cyclesBefore * 400;
inline constexpr std::uint32_t daysOf400Years = 146'097;
inline constexpr std::uint32_t daysOf4Years = 1'461;
/// What the day number is on the first day of those years.
constexpr std::int32_t FirstDay(Calendar calendar) noexcept {
    constexpr std::int32_t gregorianYear0 = 1'721'120;  // 0000-03-01 in each of the calendars
    constexpr std::int32_t julianYear0 = 1'721'118;
    return calendar == Calendar::Gregorian ? gregorianYear0 - cyclesBefore * static_cast<std::int32_t>(daysOf400Years)
                                           : julianYear0 - static_cast<std::int32_t>(yearsBefore / 4 * daysOf4Years);
}

}  // namespace detail

/// The years that these conversions take.
inline constexpr std::int32_t earliestYear = -32'768;
inline constexpr std::int32_t latestYear = 32'768;

/// The Julian day number of a date, proleptic in either calendar. A day behind its month's end counts on from there.
/// @param date month 1 to 12, a year from earliestYear to latestYear
///
/// This and its reverse are the Euclidean affine functions of C. Neri and L. Schneider ("Euclidean affine functions and
/// their application to calendar algorithms", 2022): divisions by constants, of which none is by another's result.
constexpr std::int32_t DayNumber(const CivilDate& date, Calendar calendar = Calendar::Gregorian) noexcept {
    const bool isAtEnd = date.month <= 2;
    const auto year =
        static_cast<std::uint32_t>(date.year + static_cast<std::int32_t>(detail::yearsBefore)) - (isAtEnd ? 1u : 0u);
    const std::int32_t month = isAtEnd ? date.month + 12 : date.month;
    std::uint32_t daysBefore = detail::daysOf4Years * year / 4;
    if (calendar == Calendar::Gregorian) {
        const std::uint32_t century = year / 100;
        daysBefore = daysBefore - century + century / 4;
    }
    return static_cast<std::int32_t>(daysBefore) + (979 * month - 2919) / 32 + date.day - 1 +
           detail::FirstDay(calendar);
}

/// The date of a Julian day number.
/// @param dayNumber one of those of the years from earliestYear to latestYear
constexpr CivilDate DateOf(std::int32_t dayNumber, Calendar calendar = Calendar::Gregorian) noexcept {
    const auto day = static_cast<std::uint32_t>(dayNumber - detail::FirstDay(calendar));
    std::uint32_t century = 0;
    std::uint32_t inCentury = 4 * day + 3;  // four times the day, and so of a year that begins where it must
    if (calendar == Calendar::Gregorian) {
        century = inCentury / detail::daysOf400Years;
        inCentury = inCentury % detail::daysOf400Years / 4 * 4 + 3;
    }
    const std::uint32_t yearInCentury = inCentury / detail::daysOf4Years;
    const std::uint32_t dayInYear = inCentury % detail::daysOf4Years / 4;
    const std::uint32_t monthAndDay = 2141 * dayInYear + 197'913;
    const std::uint32_t month = monthAndDay >> 16;
    const bool isAtEnd = dayInYear >= 306;  // in January or February
    return {static_cast<std::int32_t>(100 * century + yearInCentury + (isAtEnd ? 1u : 0u)) -
                static_cast<std::int32_t>(detail::yearsBefore),
            static_cast<std::int32_t>(isAtEnd ? month - 12 : month),
            static_cast<std::int32_t>((monthAndDay & 0xFFFF) / 2141) + 1};
}

/// The day number of 1970-01-01, from which others count days.
inline constexpr std::int32_t dayNumber1970 = 2'440'588;
static_assert(DayNumber({1970, 1, 1}) == dayNumber1970);

}  // namespace kv
