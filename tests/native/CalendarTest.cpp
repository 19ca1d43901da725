#include "time/Calendar.h"

#include <gtest/gtest.h>

#include <random>

#include "kvcore/CivilDay.h"

namespace calendar {
namespace {

using kv::DateTime;

__extension__ using Wide = __int128;

/// A date and time by its fields in their order.
DateTime At(int year, int month, int day, int hour = 0, int minute = 0, int second = 0, int nanosecond = 0) {
    return {.year = static_cast<std::int16_t>(year),
            .month = static_cast<std::int16_t>(month),
            .day = static_cast<std::int16_t>(day),
            .hour = static_cast<std::int16_t>(hour),
            .minute = static_cast<std::int16_t>(minute),
            .second = static_cast<std::int16_t>(second),
            .nanosecond = nanosecond};
}

std::string Text(const DateTime& at) {
    return std::to_string(at.year) + "-" + std::to_string(at.month) + "-" + std::to_string(at.day) + " " +
           std::to_string(kv::TimeOfDay(at));
}

int Floor(int number, int divisor) {
    return number / divisor - (number % divisor < 0 ? 1 : 0);
}

/// The day number by the formulas as textbooks have them.
int TextbookDayNumber(const DateTime& at, Mode mode) {
    const int a = (14 - at.month) / 12;
    const int y = at.year + (at.year > 0 ? 4800 : 4801) - a;
    const int m = at.month + 12 * a - 3;
    const int julian = at.day + (153 * m + 2) / 5 + 365 * y + Floor(y, 4);
    return mode == Mode::Julian ? julian - 32'083 : julian - Floor(y, 100) + Floor(y, 400) - 32'045;
}

TEST(Calendar, GoesToEveryDayAndBack) {
    for (const Mode mode : {Mode::Gregorian, Mode::Julian}) {
        DateTime at = At(1, 2, 3, 4, 5, 6, 7);
        const auto isJulian = [&](int day) { return mode == Mode::Julian && day < reformDay; };
        const int first = TextbookDayNumber(At(-32'767, 1, 1), mode);
        const int last = TextbookDayNumber(At(32'767, 12, 31), Mode::Gregorian);
        EXPECT_FALSE(SetDate(at, first - 1, mode));
        EXPECT_FALSE(SetDate(at, last + 1, mode));
        EXPECT_EQ(at, At(1, 2, 3, 4, 5, 6, 7));
        int year = -32'767, month = 1, day = 1, wrong = 0;
        for (int number = first; number <= last; ++number) {
            if (mode == Mode::Julian && number == reformDay) day += 10;
            wrong += SetDate(at, number, mode) && at == At(year, month, day, 4, 5, 6, 7) ? 0 : 1;
            const auto found = DayNumberOf(at, isJulian(number) ? Mode::Julian : Mode::Gregorian);
            const bool isDropped = isJulian(number) && month == 10 && day >= 5 && day <= 14;
            wrong += isDropped ? found.has_value()
                               : found != number ||
                                     TextbookDayNumber(at, isJulian(number) ? Mode::Julian : Mode::Gregorian) != number;
            const int astronomical = year < 0 ? year + 1 : year;
            const bool isLeap =
                astronomical % 4 == 0 && (isJulian(number) || astronomical % 100 != 0 || astronomical % 400 == 0);
            constexpr int lengths[] = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
            if (++day <= lengths[month - 1] + (month == 2 && isLeap ? 1 : 0)) continue;
            day = 1;
            if (++month <= 12) continue;
            month = 1;
            if (++year == 0) year = 1;
        }
        EXPECT_EQ(wrong, 0);
        EXPECT_EQ(year, 32'768);
    }
}

TEST(Calendar, CountsDaysAsSeenFromOtherCalendars) {
    const struct {
        DateTime at;
        Mode mode;
        std::optional<int> number;
    } rows[] = {
        {At(2000, 1, 1), Mode::Gregorian, 2'451'545},
        {At(2000, 1, 1), Mode::Julian, 2'451'558},
        {At(-4714, 11, 24), Mode::Gregorian, 0},
        {At(-4713, 1, 1), Mode::Julian, 0},
        {At(-1, 12, 31), Mode::Gregorian, 1'721'425},
        {At(1, 1, 1), Mode::Gregorian, 1'721'426},
        {At(1582, 10, 15), Mode::Gregorian, reformDay},
        {At(1582, 10, 4), Mode::Julian, reformDay - 1},
        {At(1582, 10, 5), Mode::Julian, {}},
        {At(2020, 10, 14), Mode::Julian, {}},
        {At(2020, 10, 15), Mode::Julian, 2'459'151},
        {At(-44, 10, 10), Mode::Julian, {}},
        {At(1500, 2, 29), Mode::Gregorian, 2'268'983},
        {At(1500, 3, 1), Mode::Gregorian, 2'268'983},
        {At(2000, 1, 1), Mode{2}, -1},
        {At(2020, 10, 10), Mode{2}, -1},
    };
    for (const auto& row : rows) EXPECT_EQ(DayNumberOf(row.at, row.mode), row.number) << Text(row.at);
    EXPECT_EQ(DayOfWeek(2'451'545), 6);
    EXPECT_EQ(DayOfWeek(0), 1);
    EXPECT_EQ(DayOfWeek(-1), 7);
}

TEST(Calendar, KnowsWhichDatesThereAre) {
    const struct {
        DateTime at;
        bool isValid, isPossible;
    } rows[] = {
        {At(1, 1, 1), true, true},      {At(-32'768, 12, 31, 23, 59, 59, 999'999'999), true, true},
        {At(1900, 2, 29), false, true}, {At(2000, 2, 29), true, true},
        {At(1500, 2, 29), true, true},  {At(1582, 2, 29), false, true},
        {At(1580, 2, 29), true, true},  {At(1600, 2, 29), true, true},
        {At(1700, 2, 29), false, true}, {At(-4, 2, 29), true, true},
        {At(-1, 2, 29), false, true},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(IsValid(row.at), row.isValid) << Text(row.at);
        EXPECT_EQ(IsPossible(row.at), row.isPossible) << Text(row.at);
    }
    // clang-format off
    const DateTime impossible[] = {
        At(0, 1, 1), At(1, 0, 1), At(1, 13, 1), At(1, -1, 1), At(1, 1, 0), At(1, 1, 32), At(1, 4, 31),
        At(1, 1, 1, 24), At(1, 1, 1, -1), At(1, 1, 1, 0, 60), At(1, 1, 1, 0, -1), At(1, 1, 1, 0, 0, 60),
        At(1, 1, 1, 0, 0, -1), At(1, 1, 1, 0, 0, 0, -1), At(1, 1, 1, 0, 0, 0, 1'000'000'000), At(-4, 2, 30),
    };
    // clang-format on
    for (const DateTime& at : impossible) {
        EXPECT_FALSE(IsValid(at)) << Text(at);
        EXPECT_FALSE(IsPossible(at)) << Text(at);
    }
}

TEST(Calendar, AddsAsLongNumbersDo) {
    std::mt19937_64 random(7);
    constexpr std::int64_t units[] = {
        1, 1'000'000, kv::nanosecondsPerSecond, 60'000'000'000, 3'600'000'000'000, kv::nanosecondsPerDay};
    DateTime at = At(2000, 1, 1);
    int wrong = 0, refused = 0;
    for (int i = 0; i < 10'000'000; ++i) {
        const std::int64_t unit = units[random() % std::size(units)];
        const auto amount = static_cast<std::int64_t>(random()) >> random() % 64;
        const Wide before = Wide{*DayNumberOf(at, Mode::Gregorian)} * kv::nanosecondsPerDay + kv::TimeOfDay(at);
        const Wide after = before + Wide{amount} * unit;
        const Wide day = after / kv::nanosecondsPerDay - (after % kv::nanosecondsPerDay < 0 ? 1 : 0);
        DateTime expected = at;
        const bool isInRange =
            day > INT32_MIN && day < INT32_MAX && SetDate(expected, static_cast<std::int64_t>(day), Mode::Gregorian);
        if (isInRange) kv::SetTimeOfDay(expected, static_cast<std::int64_t>(after - day * kv::nanosecondsPerDay));
        const Outcome outcome = AddUnits(at, Mode::Gregorian, amount, unit);
        wrong += outcome == (isInRange ? Outcome::Done : Outcome::OutOfRange) && at == expected ? 0 : 1;
        refused += isInRange ? 0 : 1;
    }
    EXPECT_EQ(wrong, 0);
    EXPECT_GT(refused, 1'000'000);
    EXPECT_LT(refused, 9'000'000);
}

TEST(Calendar, AddsWhatItCanAndElseLeavesTheTime) {
    constexpr std::int64_t day = kv::nanosecondsPerDay;
    const auto lastMoment = At(32'767, 12, 31, 23, 59, 59, 999'999'999);
    const struct {
        DateTime at;
        Mode mode;
        std::int64_t amount, unit;
        Outcome outcome;
        DateTime after;
    } rows[] = {
        {At(2000, 1, 1), Mode::Gregorian, -1, 1, Outcome::Done, At(1999, 12, 31, 23, 59, 59, 999'999'999)},
        {At(1, 1, 1), Mode::Gregorian, -1, day, Outcome::Done, At(-1, 12, 31)},
        {lastMoment, Mode::Gregorian, 1, 1, Outcome::OutOfRange, lastMoment},
        {At(-32'767, 1, 1), Mode::Gregorian, -1, 1, Outcome::OutOfRange, At(-32'767, 1, 1)},
        {At(-32'767, 1, 1), Mode::Julian, -1, 1, Outcome::OutOfRange, At(-32'767, 1, 1)},
        {At(2000, 1, 1), Mode::Gregorian, INT64_MAX, day, Outcome::OutOfRange, At(2000, 1, 1)},
        {At(2000, 1, 1), Mode::Gregorian, INT64_MIN, day, Outcome::OutOfRange, At(2000, 1, 1)},
        {At(2000, 1, 1), Mode::Gregorian, INT64_MIN, 1, Outcome::Done, At(1707, 9, 22, 0, 12, 43, 145'224'192)},
        {At(2000, 1, 1), Mode::Gregorian, INT64_MAX, 1, Outcome::Done, At(2292, 4, 10, 23, 47, 16, 854'775'807)},
        {At(2000, 1, 1), Mode::Julian, 1, day, Outcome::Done, At(2000, 1, 15)},
        {At(2000, 1, 1), Mode::Julian, 23, 3'600'000'000'000, Outcome::Done, At(2000, 1, 1, 23)},
        {At(2020, 10, 10), Mode::Julian, 1, day, Outcome::NoDayNumber, At(2020, 10, 10)},
        {At(2020, 10, 10), Mode::Julian, 1, 1, Outcome::Done, At(2020, 10, 10, 0, 0, 0, 1)},
        {At(1582, 10, 4), Mode::Julian, 1, day, Outcome::Done, At(1582, 10, 15)},
        {At(2000, 1, 1), Mode{2}, 1, day, Outcome::Done, At(-4714, 11, 24)},
        {At(2020, 10, 10, 23), Mode{2}, 2'451'546 * 24 + 1, 3'600'000'000'000, Outcome::Done, At(2000, 1, 2)},
        {At(2000, 1, 1), Mode{2}, 0, day, Outcome::Done, At(2000, 1, 1)},
        {At(2000, 1, 1), Mode{2}, 20'000'000, day, Outcome::OutOfRange, At(2000, 1, 1)},
        {At(2000, 1, 1), Mode{2}, 1, 1, Outcome::Done, At(2000, 1, 1, 0, 0, 0, 1)},
    };
    for (const auto& row : rows) {
        DateTime at = row.at;
        EXPECT_EQ(AddUnits(at, row.mode, row.amount, row.unit), row.outcome) << Text(row.at) << " " << row.amount;
        EXPECT_EQ(at, row.after) << Text(row.at) << " " << row.amount << ": " << Text(at);
    }
    DateTime at = At(2000, 1, 1);
    EXPECT_EQ(AddWeeks(at, Mode::Gregorian, INT64_MAX), Outcome::OutOfRange);
    EXPECT_EQ(AddWeeks(at, Mode::Gregorian, -2), Outcome::Done);
    EXPECT_EQ(at, At(1999, 12, 18));
}

TEST(Calendar, AddsMonthsToTheEndOfTheMonth) {
    const struct {
        DateTime at;
        Mode mode;
        std::int64_t months;
        Outcome outcome;
        DateTime after;
    } rows[] = {
        {At(2020, 1, 31, 1), Mode::Gregorian, 1, Outcome::Done, At(2020, 2, 29, 1)},
        {At(2020, 2, 29), Mode::Gregorian, 12, Outcome::Done, At(2021, 2, 28)},
        {At(2020, 3, 31), Mode::Gregorian, -1, Outcome::Done, At(2020, 2, 29)},
        {At(2020, 3, 31), Mode::Gregorian, -4, Outcome::Done, At(2019, 11, 30)},
        {At(1, 1, 31), Mode::Gregorian, -1, Outcome::Done, At(-1, 12, 31)},
        {At(-1, 12, 31), Mode::Gregorian, 2, Outcome::Done, At(1, 2, 28)},
        {At(-1, 1, 31), Mode::Gregorian, 1, Outcome::Done, At(-1, 2, 29)},
        {At(1500, 1, 31), Mode::Gregorian, 1, Outcome::Done, At(1500, 2, 28)},
        {At(1500, 1, 31), Mode::Julian, 1, Outcome::Done, At(1500, 2, 29)},
        {At(1900, 1, 31), Mode::Julian, 1, Outcome::Done, At(1900, 2, 28)},
        {At(1500, 2, 29), Mode::Gregorian, 0, Outcome::Done, At(1500, 2, 29)},
        {At(-32'768, 5, 31), Mode::Gregorian, 0, Outcome::Done, At(-32'768, 5, 31)},
        {At(-32'768, 5, 31), Mode::Gregorian, 1, Outcome::OutOfRange, At(-32'768, 5, 31)},
        {At(-32'768, 5, 31), Mode::Gregorian, 12, Outcome::Done, At(-32'767, 5, 31)},
        {At(32'767, 12, 1), Mode::Gregorian, 1, Outcome::OutOfRange, At(32'767, 12, 1)},
        {At(-32'767, 1, 1), Mode::Gregorian, -1, Outcome::OutOfRange, At(-32'767, 1, 1)},
        {At(1, 1, 1), Mode::Gregorian, 12LL * INT32_MAX, Outcome::OutOfRange, At(1, 1, 1)},
        {At(1, 1, 1), Mode::Gregorian, 12LL * INT32_MIN, Outcome::OutOfRange, At(1, 1, 1)},
    };
    for (const auto& row : rows) {
        DateTime at = row.at;
        EXPECT_EQ(AddMonths(at, row.mode, row.months), row.outcome) << Text(row.at) << " " << row.months;
        EXPECT_EQ(at, row.after) << Text(row.at) << " " << row.months << ": " << Text(at);
    }
}

}  // namespace
}  // namespace calendar
