#include "classify/IntervalBreaks.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <optional>

namespace mova {
namespace {

using Breaks = std::vector<double>;

constexpr double nan = std::numeric_limits<double>::quiet_NaN();
constexpr double infinity = std::numeric_limits<double>::infinity();
constexpr std::int64_t asked = 77;  // where a method does not look at it
const Breaks former{-1, -2};        // what stays where a method refuses

TEST(IntervalBreaks, OfEqualWidth) {
    // clang-format off
    const struct {
        Range range;
        std::int64_t classes;
        BreakOutcome outcome;
        Breaks breaks;
    } rows[] = {
        {{0, 10}, 4, BreakOutcome::done, {0, 2.5, 5, 7.5, 10}},
        {{3, 3}, 5, BreakOutcome::done, {3, 3}},
        {{4, -4}, 2, BreakOutcome::done, {4, 0, -4}},
        {{0, 1}, mostBreaks, BreakOutcome::tooMany, former},
        {{0, 1}, 1LL << 40, BreakOutcome::tooMany, former},
    };
    // clang-format on
    for (const auto& row : rows) {
        Breaks breaks = former;
        EXPECT_EQ(EqualIntervalBreaks(row.range, row.classes, breaks), row.outcome);
        EXPECT_EQ(breaks, row.breaks);
    }
    Breaks breaks;
    EXPECT_EQ(EqualIntervalBreaks({nan, 1}, 3, breaks), BreakOutcome::done);
    EXPECT_EQ(breaks.size(), 4u);
    EXPECT_EQ(EqualIntervalBreaks({0, 1}, 10, breaks), BreakOutcome::done);
    ASSERT_EQ(breaks.size(), 11u);
    double sum = 0;
    for (std::size_t i = 1; i < 10; ++i) EXPECT_EQ(breaks[i], sum += 0.1);
    EXPECT_NE(breaks[7], 7 * 0.1);  // by adding, not by multiplying
    EXPECT_EQ(breaks[10], 1);
}

TEST(IntervalBreaks, OfQuantiles) {
    const struct {
        Breaks values;
        std::vector<std::int32_t> frequencies;
        std::int64_t classes, made;
        Breaks breaks;
    } rows[] = {
        {{1, 2, 3, 4}, {1, 1, 1, 1}, 2, 2, {1, 2, 4}},
        {{1, 2, 3}, {1, 10, 1}, 3, 3, {1, 1, 2, 3}},
        {{1, 2, 3}, {1, 1, 1}, 9, 3, {1, 1, 2, 3}},
        {{1, 2, 3}, {0, 0, 0}, 2, 0, {1}},
        {{1, 2, 3}, {5, 0, 0}, 2, 1, {1, 1}},  // all are placed
        {{1, 2, 3, 4}, {3, 1, 1, 1}, 2, 2, {1, 1, 4}},
        {{1, 2, 3}, {-1, 0, 4}, 3, 1, {1, 3}},  // below 0, yet there is a value to end the class
        {{5, 7}, {2147483647, 2147483647}, 2, 2, {5, 5, 7}},
    };
    for (const auto& row : rows) {
        Breaks breaks = former;
        std::int64_t classes = row.classes;
        EXPECT_EQ(QuantileBreaks({row.values, row.frequencies}, classes, breaks), BreakOutcome::done);
        EXPECT_EQ(breaks, row.breaks);
        EXPECT_EQ(classes, row.made);
    }
    Breaks breaks = former;
    std::int64_t classes = 2;
    const double values[] = {1, 2};
    const std::int32_t frequencies[] = {-5, 1};
    EXPECT_EQ(QuantileBreaks({values, frequencies}, classes, breaks), BreakOutcome::badFrequencies);
    EXPECT_EQ(breaks, former);
    EXPECT_EQ(classes, 2);
}

TEST(IntervalBreaks, AroundTheMean) {
    const DeviationLayout plain{1, 10, 2, true, true};
    const auto limited = [&](double interval, double mean, double deviation) {
        return DeviationLayout{interval, mean, deviation, true, true};
    };
    const auto free = [](double interval, double mean, double deviation, bool centered) {
        return DeviationLayout{interval, mean, deviation, false, centered};
    };
    const struct {
        Range range;
        DeviationLayout layout;
        BreakOutcome outcome;
        std::int64_t classes;
        Breaks breaks;
    } rows[] = {
        {{0, 20}, plain, BreakOutcome::done, 7, {0, 5, 7, 9, 11, 13, 15, 20}},
        {{7, 13}, plain, BreakOutcome::done, 4, {7, 7, 9, 11, 13}},  // a break on the minimum
        {{8, 12}, plain, BreakOutcome::done, 3, {8, 9, 11, 12}},
        {{9.5, 10.5}, plain, BreakOutcome::noClass, asked, {}},
        {{0, 20}, limited(2, 10, 2), BreakOutcome::done, 4, {0, 4, 8, 12, 20}},
        {{0, 20}, limited(1.5, 10, 2), BreakOutcome::done, 6, {0, 2.5, 5.5, 8.5, 11.5, 14.5, 20}},
        {{0, 20}, limited(0.5, 10, 0), BreakOutcome::done, 1, {0, 0}},
        {{0, 20}, limited(1, 10, -2), BreakOutcome::noClass, asked, {}},
        {{0, 20}, limited(1, nan, 2), BreakOutcome::endless, asked, former},
        {{0, 20}, limited(1, 10, nan), BreakOutcome::endless, asked, former},
        {{0, 20}, limited(1, 10, infinity), BreakOutcome::endless, asked, former},
        {{0, 20}, limited(1e-9, 10, 2), BreakOutcome::tooMany, asked, former},
        {{0, 20}, limited(1, 1e17, 2), BreakOutcome::endless, asked, former},
        {{0, 10}, free(1, 5, 2, true), BreakOutcome::done, 5, {0, 2, 4, 6, 8, 10}},
        {{0, 10}, free(1, 5, 2, false), BreakOutcome::done, 6, {0, 1, 3, 5, 7, 9, 10}},
        {{0, 10}, free(1, 5, 0, true), BreakOutcome::done, 1, {0, 10}},
        {{0, 10}, free(50, 5, 2, false), BreakOutcome::done, 2, {0, 5, 10}},
        {{0, 10}, free(1, 5, nan, true), BreakOutcome::done, 1, {0, 10}},
        {{0, 10}, free(1, 5, -2, true), BreakOutcome::endless, asked, former},
        {{0, 1e30}, free(1e-7, 5, 2, true), BreakOutcome::tooMany, asked, former},
        {{1e17, 1e17 + 64}, free(1, 1e17, 2, false), BreakOutcome::endless, asked, former},
    };
    for (const auto& row : rows) {
        Breaks breaks = former;
        std::int64_t classes = asked;
        EXPECT_EQ(DeviationBreaks(row.range, row.layout, classes, breaks), row.outcome) << &row - rows;
        EXPECT_EQ(classes, row.classes) << &row - rows;
        EXPECT_EQ(breaks, row.breaks) << &row - rows;
    }
}

TEST(IntervalBreaks, OfDefinedWidth) {
    const struct {
        Range range;
        double width;
        BreakOutcome outcome;
        std::int64_t classes;
        Breaks breaks;
    } rows[] = {
        {{0, 10}, 4, BreakOutcome::done, 3, {0, 4, 8, 10}},
        {{-5, 5}, 4, BreakOutcome::done, 4, {-5, -4, 0, 4, 5}},
        {{8, 16}, 4, BreakOutcome::done, 2, {8, 12, 16}},
        {{0, 0.8}, 0.1, BreakOutcome::done, 8, {0, 0.1, 0.2, 3 * 0.1, 0.4, 0.5, 6 * 0.1, 7 * 0.1, 0.8}},
        {{3, 3}, 4, BreakOutcome::done, 1, {3, 3}},
        {{-3, -3}, 1e-320, BreakOutcome::done, 1, {-3, -3}},
        {{1, 2}, 100, BreakOutcome::done, 1, {1, 2}},
        {{0, 10}, 1e-9, BreakOutcome::tooMany, asked, former},
        {{0, 1e300}, 1e-300, BreakOutcome::tooMany, asked, former},
        {{1e17, 1e17 + 64}, 1, BreakOutcome::endless, asked, former},
        {{0x1p54 - 16, 0x1p54 - 2}, 1.25, BreakOutcome::endless, asked, former},  // whose multiples cannot be counted
        {{0, infinity}, 1, BreakOutcome::endless, asked, former},
        {{nan, 1}, 1, BreakOutcome::endless, asked, former},
    };
    for (const auto& row : rows) {
        Breaks breaks = former;
        std::int64_t classes = asked;
        EXPECT_EQ(DefinedIntervalBreaks(row.range, row.width, classes, breaks), row.outcome) << row.width;
        EXPECT_EQ(classes, row.classes);
        EXPECT_EQ(breaks, row.breaks) << row.width;
    }
}

TEST(IntervalBreaks, OfGeometricalWidths) {
    const struct {
        Breaks values;
        std::vector<std::int32_t> frequencies;
        std::int64_t classes;
        BreakOutcome outcome;
        Breaks breaks;
    } rows[] = {
        {{0, 5, 10}, {1, 1, 1}, 4, BreakOutcome::done, {0, 2.5, 5, 7.5, 10}},
        {{0, 1, 5}, {1, 1, 1}, 2, BreakOutcome::done, {0, 1, 5}},                    // the median ends the first of two
        {{0, 1, 5}, {1, 1, 1}, 4, BreakOutcome::done, {0, 1.0 / 3, 1, 7.0 / 3, 5}},  // each twice the one before
        {{0, 4, 5}, {1, 1, 1}, 4, BreakOutcome::done, {0, 8.0 / 3, 4, 14.0 / 3, 5}},
        {{0, 1, 5}, {1, 1, 1}, 1, BreakOutcome::done, {0, 5}},
        {{7}, {3}, 4, BreakOutcome::done, {7, 7}},
        {{0, 1, 5}, {0, 0, 0}, 4, BreakOutcome::badFrequencies, former},
        {{0, 1, 5}, {2, -1, 1}, 4, BreakOutcome::badFrequencies, former},
        {{0, 9, 5}, {1, 1, 1}, 4, BreakOutcome::endless, former},
        {{0, 1, infinity}, {1, 1, 1}, 4, BreakOutcome::endless, former},
        {{0, nan, 5}, {1, 1, 1}, 4, BreakOutcome::endless, former},
        {{0, 1, 5}, {1, 1, 1}, mostBreaks, BreakOutcome::tooMany, former},
    };
    for (const auto& row : rows) {
        Breaks breaks = former;
        std::int64_t classes = row.classes;
        EXPECT_EQ(GeometricalBreaks({row.values, row.frequencies}, classes, breaks), row.outcome);
        ASSERT_EQ(breaks.size(), row.breaks.size());
        for (std::size_t i = 0; i < breaks.size(); ++i) EXPECT_NEAR(breaks[i], row.breaks[i], 1e-12) << i;
    }
    Breaks breaks;  // a median on the minimum still gives classes of some width
    std::int64_t classes = 8;
    const double values[] = {0, 1};
    const std::int32_t frequencies[] = {1000, 1};
    EXPECT_EQ(GeometricalBreaks({values, frequencies}, classes, breaks), BreakOutcome::done);
    for (std::size_t i = 1; i < breaks.size(); ++i) EXPECT_GT(breaks[i], breaks[i - 1]);
}

}  // namespace
}  // namespace mova
