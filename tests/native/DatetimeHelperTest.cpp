#include "kvcore/DatetimeHelper.h"

#include <gtest/gtest.h>

#include <cmath>
#include <future>
#include <limits>
#include <random>
#include <vector>

#include "kvcore/CivilDay.h"

namespace {

constexpr std::int64_t millisecondsPerDay = 86'400'000;
constexpr std::int64_t firstDay = -657'434;  // 0100-01-01
constexpr std::int64_t endOfDays = 2'958'466;

/// The fields of a millisecond that is counted from 1899-12-30, and its OLE date.
kv::DateTime FieldsAt(std::int64_t milliseconds) {
    const std::int64_t day = milliseconds / millisecondsPerDay - (milliseconds % millisecondsPerDay < 0 ? 1 : 0);
    const std::int64_t inDay = milliseconds - day * millisecondsPerDay;
    const kv::CivilDate date = kv::DateOf(static_cast<std::int32_t>(day) + 2'415'019);
    return {.year = static_cast<std::int16_t>(date.year),
            .month = static_cast<std::int16_t>(date.month),
            .day = static_cast<std::int16_t>(date.day),
            .hour = static_cast<std::int16_t>(inDay / 3'600'000),
            .minute = static_cast<std::int16_t>(inDay / 60'000 % 60),
            .second = static_cast<std::int16_t>(inDay / 1'000 % 60),
            .nanosecond = static_cast<std::int32_t>(inDay % 1'000) * 1'000'000};
}
double OleAt(std::int64_t milliseconds) {
    const std::int64_t day = milliseconds / millisecondsPerDay - (milliseconds % millisecondsPerDay < 0 ? 1 : 0);
    const double inDay = static_cast<double>(milliseconds - day * millisecondsPerDay) / millisecondsPerDay;
    return static_cast<double>(day) + (day < 0 ? -inDay : inDay);
}

/// Whether the two go to each other.
bool AreTheSame(const kv::DateTime& fields, double date) {
    return DatetimeHelper::ToOADate(fields) == date && DatetimeHelper::FromOADate(date) == fields;
}

/// How many milliseconds of a day that is counted from 1899-12-30 do not go to their OLE date and back.
int CountWrong(int day) {
    int wrong = 0;
    kv::DateTime fields;
    for (int inDay = 0; inDay < millisecondsPerDay; ++inDay) {
        if (inDay % 1'000 == 0) fields = FieldsAt(day * millisecondsPerDay + inDay);
        const double fraction = static_cast<double>(inDay) / millisecondsPerDay;
        wrong += AreTheSame(fields, day < 0 ? day - fraction : day + fraction) ? 0 : 1;
        fields.nanosecond += kv::nanosecondsPerMillisecond;
    }
    return wrong;
}

TEST(DatetimeHelper, KeepsEveryMillisecondAroundTheFirstDay) {
    std::vector<std::future<int>> days;
    for (int day = -2; day < 2; ++day) days.push_back(std::async(std::launch::async, CountWrong, day));
    for (auto& wrong : days) EXPECT_EQ(wrong.get(), 0);
}

TEST(DatetimeHelper, KeepsMillisecondsOfAllYears) {
    std::mt19937_64 random(13);
    std::uniform_int_distribution<std::int64_t> any(firstDay * millisecondsPerDay, endOfDays * millisecondsPerDay - 1);
    std::int64_t wrong = 0;
    for (int i = 0; i < 10'000'000; ++i) {
        const std::int64_t milliseconds = any(random);
        wrong += AreTheSame(FieldsAt(milliseconds), OleAt(milliseconds)) ? 0 : 1;
    }
    EXPECT_EQ(wrong, 0);
}

TEST(DatetimeHelper, TakesWhatAnOleDateCanBe) {
    constexpr double infinite = std::numeric_limits<double>::infinity();
    const kv::DateTime first{.year = 100};
    const kv::DateTime last{
        .year = 9'999, .month = 12, .day = 31, .hour = 23, .minute = 59, .second = 59, .nanosecond = 999'000'000};
    EXPECT_EQ(DatetimeHelper::FromOADate(-1.25), (kv::DateTime{.year = 1899, .month = 12, .day = 29, .hour = 6}));
    EXPECT_EQ(DatetimeHelper::FromOADate(-0.25), (kv::DateTime{.year = 1899, .month = 12, .day = 30, .hour = 6}));
    EXPECT_EQ(DatetimeHelper::FromOADate(-657'434.0), first);
    EXPECT_EQ(DatetimeHelper::FromOADate(OleAt(endOfDays * millisecondsPerDay - 1)), last);
    EXPECT_EQ(DatetimeHelper::FromOADate(0.999999999999), (kv::DateTime{.year = 1899, .month = 12, .day = 31}));
    EXPECT_EQ(DatetimeHelper::FromOADate(-1.999999999999), (kv::DateTime{.year = 1899, .month = 12, .day = 30}));
    for (const double refused : {-657'435.0, -657'435.5, 2'958'466.0, std::nextafter(2'958'466.0, 0.0), 1e300, -1e300,
                                 infinite, -infinite, std::numeric_limits<double>::quiet_NaN()}) {
        EXPECT_FALSE(DatetimeHelper::FromOADate(refused)) << refused;
        EXPECT_FALSE(DatetimeHelper::OffsetTimestamp(refused, 0)) << refused;
    }
    EXPECT_EQ(DatetimeHelper::ToOADate(first), -657'434.0);
    kv::DateTime begun = first;
    begun.nanosecond = 999'999;
    EXPECT_EQ(DatetimeHelper::ToOADate(begun), -657'434.0) << "a millisecond that has begun does not count";
    for (const kv::DateTime& refused :
         {kv::DateTime{.year = 99, .month = 12, .day = 31}, kv::DateTime{.year = 10'000}, kv::DateTime{.year = -1},
          kv::DateTime{.year = 1500, .month = 2, .day = 29}, kv::DateTime{.year = 2000, .month = 13},
          kv::DateTime{.year = 2000, .month = 0}, kv::DateTime{.year = 2000, .day = 0},
          kv::DateTime{.year = 2000, .hour = 24}, kv::DateTime{.year = 2000, .minute = -1},
          kv::DateTime{.year = 2000, .second = 60}, kv::DateTime{.year = 2000, .nanosecond = -1}})
        EXPECT_FALSE(DatetimeHelper::ToOADate(refused));
}

TEST(DatetimeHelper, ShiftsByMinutes) {
    EXPECT_EQ(DatetimeHelper::OffsetTimestamp(0.0, 90), 0.0625);
    EXPECT_EQ(DatetimeHelper::OffsetTimestamp(0.0, -360), -1.75);
    EXPECT_EQ(DatetimeHelper::OffsetTimestamp(-1.75, 360), 0.0);
    EXPECT_EQ(DatetimeHelper::OffsetTimestamp(100.0, std::numeric_limits<std::int16_t>::min()),
              OleAt(100 * millisecondsPerDay - 32'768 * 60'000));
    EXPECT_FALSE(DatetimeHelper::OffsetTimestamp(-657'434.0, -1));
    EXPECT_FALSE(DatetimeHelper::OffsetTimestamp(2'958'465.0, 1'440));
}

}  // namespace
