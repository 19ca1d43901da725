#include "time/Duration.h"

#include <gtest/gtest.h>

#include <limits>
#include <random>
#include <string>

namespace calendar {
namespace {

__extension__ using Wide = __int128;
using Limits = std::numeric_limits<std::int64_t>;
constexpr std::int32_t greatest = std::numeric_limits<std::int32_t>::max();
constexpr std::int32_t least = std::numeric_limits<std::int32_t>::min();

std::string Format(const Duration& duration) {
    char16_t out[durationTextSize];
    const std::u16string text(out, FormatDuration(out, duration));
    return {text.begin(), text.end()};
}

std::string Read(std::string_view text) {
    const auto read = ReadDuration(std::u16string(text.begin(), text.end()));
    return read ? Format(*read) : "-";
}

Wide NanosecondsOf(const Duration& duration) {
    const Wide seconds = ((Wide{duration.days} * 24 + duration.hours) * 60 + duration.minutes) * 60 + duration.seconds;
    const Wide nanoseconds = seconds * 1'000'000'000 + duration.nanoseconds;
    return duration.isPositive ? nanoseconds : -nanoseconds;
}

Wide NanosecondsOf(const Length& length) {
    return Wide{length.seconds} * 1'000'000'000 + length.nanoseconds;
}

bool IsShortest(const Duration& duration) {
    return duration.days >= 0 && duration.hours >= 0 && duration.hours < 24 && duration.minutes >= 0 &&
           duration.minutes < 60 && duration.seconds >= 0 && duration.seconds < 60 && duration.nanoseconds >= 0 &&
           duration.nanoseconds < 1'000'000'000 && (duration.isPositive || NanosecondsOf(duration) != 0);
}

TEST(Duration, IsWrittenWithAllParts) {
    EXPECT_EQ(Format({}), "P0DT0H0M0S");
    EXPECT_EQ(Format({.isPositive = false}), "-P0DT0H0M0S");
    EXPECT_EQ(Format({false, 1, 2, 3, 4, 500'000'000}), "-P1DT2H3M4.5S");
    EXPECT_EQ(Format({true, 0, 0, 0, 0, 1}), "P0DT0H0M0.000000001S");
    EXPECT_EQ(Format({true, 0, 25, 61, 61, 120'000'000}), "P0DT25H61M61.12S");
    EXPECT_EQ(Format({false, least, least, least, least, 999'999'999}),
              "-P-2147483648DT-2147483648H-2147483648M-2147483648.999999999S");
}

TEST(Duration, IsReadAsItIsWrittenAndInShorterForms) {
    // clang-format off
    const struct {
        std::string_view text;
        std::string read;
    } rows[] = {
        {"P0DT0H0M0S", "P0DT0H0M0S"},           {"-P0DT0H0M0S", "-P0DT0H0M0S"},
        {"-P1DT2H3M4.5S", "-P1DT2H3M4.5S"},     {"P2D", "P2DT0H0M0S"},
        {"PT36H", "P0DT36H0M0S"},               {"PT1H1S", "P0DT1H0M1S"},
        {"PT0.0000000004S", "P0DT0H0M0S"},      {"PT0.0000000005S", "P0DT0H0M0.000000001S"},
        {"PT59.9999999999S", "P0DT0H0M60S"},    {"PT2147483647.9S", "P0DT0H0M2147483647.9S"},
        {"P3W", "P21DT0H0M0S"},                 {"-P1W", "-P7DT0H0M0S"},
        {"P306783378W", "P2147483646DT0H0M0S"}, {"P2147483647D", "P2147483647DT0H0M0S"}};
    // clang-format on
    for (const auto& row : rows) EXPECT_EQ(Read(row.text), row.read) << row.text;
    // clang-format off
    const std::string_view refused[] = {
        "PT2147483647.9999999999S", "P306783379W", "P2147483648D", "P99999999999999999999999D", "", "-", "P", "PT",
        "P1DT", "P1", "PD", "P1Y", "P1M", "P1DT1D", "PT1M1H", "PT1H1H", "P1D1W", "P1W1D", "P1H", "PT1.5H", "PT1.S",
        "PT.5S", "PT-1S", "+P1D", "p1d", "P1D ", " P1D", "P1DT1S1", "PT1ST1S", "T1S",
    };
    // clang-format on
    for (const auto text : refused) EXPECT_EQ(Read(text), "-") << text;
}

TEST(Duration, TicksAreRoundedAndBounded) {
    const struct {
        Duration duration;
        std::optional<std::int64_t> ticks;
    } rows[] = {
        {{true, 0, 0, 0, 0, 149}, 1},
        {{true, 0, 0, 0, 0, 150}, 2},
        {{false, 0, 0, 0, 0, 150}, -2},
        {{false, 0, 0, 0, 0, 149}, -1},
        {{true, 0, 0, 0, 0, 999'999'950}, 10'000'000},
        {{true, 1, 2, 3, 4, 500'000'000}, 937'845'000'000},
        {{true, 1, -24, 0, 0, 0}, 0},
        {{true, 10'675'199, 2, 48, 5, 477'580'700}, Limits::max()},
        {{true, 10'675'199, 2, 48, 5, 477'580'749}, Limits::max()},
        {{true, 10'675'199, 2, 48, 5, 477'580'750}, {}},
        {{false, 10'675'199, 2, 48, 5, 477'580'800}, Limits::min()},
        {{false, 10'675'199, 2, 48, 5, 477'580'850}, {}},
        {{true, greatest, greatest, greatest, greatest, 999'999'999}, {}},
        {{false, greatest, greatest, greatest, greatest, 999'999'999}, {}},
        {{true, least, least, least, least, 0}, {}},
        {{true, greatest, 0, least, 0, 0}, {}},
    };
    for (const auto& row : rows) EXPECT_EQ(TicksOf(row.duration), row.ticks) << Format(row.duration);
    for (const std::int64_t ticks :
         {Limits::min(), Limits::min() + 1, std::int64_t{-1}, std::int64_t{0}, std::int64_t{1}, Limits::max()}) {
        const Duration duration = DurationOfTicks(ticks);
        EXPECT_EQ(TicksOf(duration), ticks);
        EXPECT_EQ(duration.isPositive, ticks >= 0);
    }
    EXPECT_EQ(Format(DurationOfTicks(-1)), "-P0DT0H0M0.0000001S");
    EXPECT_EQ(Format(DurationOfTicks(Limits::min())), "-P10675199DT2H48M5.4775808S");
}

TEST(Duration, LengthsTakeNanosecondsOfAnyNumber) {
    for (const std::int64_t nanoseconds : {Limits::min(), std::int64_t{-1'000'000'001}, std::int64_t{-1},
                                           std::int64_t{0}, std::int64_t{1'000'000'000}, Limits::max()}) {
        for (const std::int64_t seconds : {std::int64_t{least} * 86'400, std::int64_t{0}}) {
            const Length length = LengthFrom(seconds, nanoseconds);
            const Wide number = Wide{seconds} * 1'000'000'000 + nanoseconds;
            EXPECT_TRUE(NanosecondsOf(length) == number) << seconds << " " << nanoseconds;
            EXPECT_TRUE(NanosecondsOf(Opposite(length)) == -number) << seconds << " " << nanoseconds;
            EXPECT_GE(length.nanoseconds, 0);
            EXPECT_LT(length.nanoseconds, 1'000'000'000);
        }
    }
}

TEST(Duration, ComputesAsLongNumbersDo) {
    std::mt19937_64 random(11);
    const auto part = [&] { return static_cast<std::int32_t>(random()) >> random() % 32; };
    const auto any = [&] {
        return Duration{
            random() % 2 == 0, part(), part(), part(), part(), static_cast<std::int32_t>(random() % 1'000'000'000)};
    };
    constexpr Wide endOfLengths = (Wide{greatest} + 1) * 86'400 * 1'000'000'000;
    int refused = 0;
    for (int i = 0; i < 1'000'000; ++i) {
        const Duration left = any();
        const Duration right = any();
        const std::int32_t factor = part();
        const Length lefts = LengthOf(left);
        const Length rights = LengthOf(right);
        const Wide leftNumber = NanosecondsOf(left);
        const Wide rightNumber = NanosecondsOf(right);
        ASSERT_TRUE(NanosecondsOf(lefts) == leftNumber) << Format(left);
        ASSERT_EQ(lefts < rights, leftNumber < rightNumber);
        const auto check = [&](const std::optional<Length>& length, Wide number) {
            const auto result = length ? DurationOf(*length) : std::nullopt;
            const bool isInRange = number > -endOfLengths && number < endOfLengths;
            ASSERT_EQ(result.has_value(), isInRange) << Format(left) << " " << Format(right) << " " << factor;
            refused += isInRange ? 0 : 1;
            const bool isRight = !result || (NanosecondsOf(*result) == number && IsShortest(*result));
            ASSERT_TRUE(isRight) << Format(*result);
        };
        check(Sum(lefts, rights), leftNumber + rightNumber);
        check(Sum(lefts, Opposite(rights)), leftNumber - rightNumber);
        check(Multiple(lefts, factor), leftNumber * factor);
        if (const auto ticks = TicksOf(left)) {
            const Wide distance = leftNumber * (left.isPositive ? 1 : -1) - Wide{left.nanoseconds};
            const Wide rounded = distance / 100 + (left.nanoseconds + 50) / 100;
            ASSERT_TRUE(*ticks == (left.isPositive ? rounded : -rounded)) << Format(left);
        }
    }
    EXPECT_GT(refused, 100'000);
    EXPECT_FALSE(DurationOf({-(Limits::max() / 2), 0}));
    for (const bool isPositive : {true, false}) {
        const Duration longest{isPositive, greatest, 23, 59, 59, 999'999'999};
        EXPECT_EQ(DurationOf(LengthOf(longest)), longest);
        Duration longer = longest;
        longer.nanoseconds = 1'000'000'000;
        EXPECT_FALSE(DurationOf(LengthOf(longer)));
    }
}

}  // namespace
}  // namespace calendar
