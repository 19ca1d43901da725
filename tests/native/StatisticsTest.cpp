#include "classify/Statistics.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <random>

namespace mova {
namespace {

constexpr double nan = std::numeric_limits<double>::quiet_NaN();
constexpr double infinity = std::numeric_limits<double>::infinity();

TEST(Statistics, AgreeWithTwoPassesInExtendedPrecision) {
    std::mt19937_64 random(7);
    const auto unit = [&] { return static_cast<double>(random() >> 11) * 0x1p-53; };
    for (int run = 0; run < 300; ++run) {
        const double center = run % 3 == 0 ? 0 : run % 3 == 1 ? 1e9 : -1e15;
        const std::size_t count = 1 + random() % (run < 250 ? 60 : 9000);
        std::vector<double> values;
        std::vector<double> weights;
        for (std::size_t i = 0; i < count; ++i) {
            values.push_back(center + unit() * 1000);
            weights.push_back(run % 2 == 0 ? 1 : std::floor(unit() * 5));
        }
        Statistics statistics;
        for (std::size_t begin = 0; begin < count;) {
            const std::size_t size = std::min<std::size_t>(1 + random() % 3000, count - begin);
            const std::span part = std::span(values).subspan(begin, size);
            ASSERT_TRUE(run % 2 == 0 ? statistics.Add(part)
                                     : statistics.Add(part, std::span(weights).subspan(begin, size)));
            begin += size;
        }
        long double weight = 0;
        long double sum = 0;
        long double squares = 0;
        double least = infinity, greatest = -infinity;
        std::int64_t counted = 0;
        for (std::size_t i = 0; i < count; ++i) {
            if (weights[i] == 0) continue;
            weight += weights[i];
            sum += static_cast<long double>(values[i]) * weights[i];
            least = std::min(least, values[i]);
            greatest = std::max(greatest, values[i]);
            ++counted;
        }
        if (counted == 0) continue;
        const long double mean = sum / weight;
        for (std::size_t i = 0; i < count; ++i) squares += (values[i] - mean) * (values[i] - mean) * weights[i];
        const auto near = [](double found, long double expected, double relative) {
            EXPECT_NEAR(found, static_cast<double>(expected), std::fabs(static_cast<double>(expected)) * relative);
        };
        EXPECT_EQ(statistics.Count(), counted);
        EXPECT_EQ(statistics.Weight(), static_cast<double>(weight));
        EXPECT_EQ(statistics.Minimum(), least);
        EXPECT_EQ(statistics.Maximum(), greatest);
        near(statistics.Sum(), sum, 1e-14);
        near(statistics.Mean(), mean, 1e-15);
        near(statistics.Squares(), squares, center == 0 ? 1e-13 : 1e-10);
    }
}

TEST(Statistics, RefuseWholeCalls) {
    Statistics statistics;
    const std::vector<double> good{1, 2, 3};
    ASSERT_TRUE(statistics.Add(good));
    std::vector<double> values(3000, 5.0);
    std::vector<double> weights(3000, 1.0);
    const auto unchanged = [&] {
        return statistics.Count() == 3 && statistics.Sum() == 6 && statistics.Squares() == 2;
    };
    for (const double bad : {nan, infinity, -infinity}) {
        for (const std::size_t at : {std::size_t{0}, std::size_t{1500}, std::size_t{2999}}) {
            values[at] = bad;
            EXPECT_FALSE(statistics.Add(values));
            EXPECT_FALSE(statistics.Add(values, weights));
            values[at] = 5;
            weights[at] = bad;
            EXPECT_FALSE(statistics.Add(values, weights));
            weights[at] = -1;
            EXPECT_FALSE(statistics.Add(values, weights));
            weights[at] = 1;
        }
    }
    EXPECT_TRUE(unchanged());
    std::fill(weights.begin(), weights.end(), 0.0);
    EXPECT_TRUE(statistics.Add(values, weights));
    EXPECT_TRUE(statistics.Add({}));
    EXPECT_TRUE(unchanged());
}

TEST(Statistics, OfNumbersAtTheEndOfTheRange) {
    constexpr double great = 1.5e308;
    const struct {
        std::vector<double> values;
        double mean, sum, squares;
    } rows[] = {
        {{great, great, great, great}, great, infinity, 0},
        {{great, great, -great, -great}, 0, 0, infinity},
        {{-great, -great}, -great, -infinity, 0},
        {{1e200, 3e200, 7.1e200}, 3.7e200, 1.11e201, infinity},
        {{great, -great, great / 2}, great / 6, great / 2, infinity},
    };
    for (const auto& row : rows) {
        for (const bool isWeighted : {false, true}) {
            for (const bool comesInOne : {false, true}) {
                SCOPED_TRACE(&row - rows);
                const std::vector<double> weights(row.values.size(), 1.0);
                Statistics statistics;
                const std::size_t part = comesInOne ? row.values.size() : 1;
                for (std::size_t i = 0; i < row.values.size(); i += part) {
                    const auto values = std::span(row.values).subspan(i, part);
                    ASSERT_TRUE(isWeighted ? statistics.Add(values, std::span(weights).subspan(i, part))
                                           : statistics.Add(values));
                }
                EXPECT_NEAR(statistics.Mean() / great, row.mean / great, 1e-14);
                if (std::isfinite(row.sum)) {
                    EXPECT_NEAR(statistics.Sum() / great, row.sum / great, 1e-13);
                } else {
                    EXPECT_EQ(statistics.Sum(), row.sum);
                }
                EXPECT_EQ(statistics.Maximum(), *std::max_element(row.values.begin(), row.values.end()));
                EXPECT_EQ(statistics.Squares(), row.squares);
            }
        }
    }
}

TEST(Statistics, KeepTheMeanOfManyGreatNumbers) {
    Statistics statistics;
    ASSERT_TRUE(statistics.Add(std::vector<double>(100, 1.5e308)));
    EXPECT_NEAR(statistics.Mean() / 1.5e308, 1, 1e-14);
    EXPECT_EQ(statistics.Sum(), infinity);
}

TEST(Statistics, LeaveOutWhatHasNoWeight) {
    Statistics statistics;
    ASSERT_TRUE(statistics.Add(std::vector<double>{1, 1e200, 2, -1.7e308}, std::vector<double>{1, 0, 1, 0}));
    EXPECT_EQ(statistics.Count(), 2);
    EXPECT_EQ(statistics.Mean(), 1.5);
    EXPECT_EQ(statistics.Squares(), 0.5);
    EXPECT_EQ(statistics.Maximum(), 2);
}

TEST(Statistics, RefuseAnInfiniteTotalWeight) {
    Statistics statistics;
    const std::vector<double> values{1, 2};
    EXPECT_FALSE(statistics.Add(values, std::vector<double>{1e308, 1e308}));
    ASSERT_TRUE(statistics.Add(std::span(values).first(1), std::vector<double>{1e308}));
    EXPECT_FALSE(statistics.Add(std::span(values).first(1), std::vector<double>{1e308}));
    EXPECT_EQ(statistics.Weight(), 1e308);
    EXPECT_EQ(statistics.Mean(), 1);
}

TEST(MakeHistogram, CountsDistinctValues) {
    const struct {
        std::vector<double> numbers;
        std::vector<std::int32_t> occurrences;
        HistogramOutcome outcome;
        std::vector<double> values;
        std::vector<std::int32_t> frequencies;
    } rows[] = {
        {{}, {}, HistogramOutcome::done, {}, {}},
        {{3, 1, 2, 3, 3}, {}, HistogramOutcome::done, {1, 2, 3}, {1, 1, 3}},
        {{-0.0, 0.0}, {}, HistogramOutcome::done, {0}, {2}},
        {{2, 1, 2}, {4, 0, 5}, HistogramOutcome::done, {1, 2}, {0, 9}},
        {{2, 1, 2}, {4, -3, -4}, HistogramOutcome::done, {1, 2}, {-3, 0}},
        {{1, 1}, {2147483647, 0}, HistogramOutcome::done, {1}, {2147483647}},
        {{1, 1}, {2147483647, 1}, HistogramOutcome::outOfRange, {}, {}},
        {{1, nan}, {}, HistogramOutcome::notFinite, {}, {}},
        {{1, -infinity}, {}, HistogramOutcome::notFinite, {}, {}},
    };
    for (const auto& row : rows) {
        DistinctValues made;
        EXPECT_EQ(MakeHistogram(row.numbers, row.occurrences, made), row.outcome);
        EXPECT_EQ(made.values, row.values);
        EXPECT_EQ(made.frequencies, row.frequencies);
        for (const double value : made.values) EXPECT_FALSE(std::signbit(value));
    }
}

}  // namespace
}  // namespace mova
