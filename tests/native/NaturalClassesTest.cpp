#include "classify/NaturalClasses.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <map>
#include <random>
#include <utility>
#include <vector>

#include "tests/DirectNaturalBreaks.h"

namespace mova {
namespace {

struct Data {
    std::vector<double> values;
    std::vector<std::int32_t> frequencies;

    HistogramView View() const { return {values, frequencies}; }
};

/// The class ends that the search finds, or nothing; and the same, summed anew for each comparison.
std::vector<std::int32_t> Fast(const Data& data, int classCount, BlockSums& sums) {
    NaturalBounds bounds;
    if (!FindNaturalBounds(data.View(), classCount, sums, bounds)) return {};
    return {bounds.begin(), bounds.begin() + classCount + 1};
}
std::vector<std::int32_t> Direct(const Data& data, int classCount) {
    test::DirectNaturalBreaks judge(data.View());
    if (!judge.Run(classCount)) return {};
    return {judge.bounds.begin(), judge.bounds.begin() + classCount + 1};
}

/// Histograms of all kinds, many of which have ties.
class Histograms {
 public:
    Data Next(std::size_t count) {
        Data data;
        const std::uint32_t shape = Below(10);
        const double spread = std::exp2(static_cast<double>(Below(40)) - 20);
        for (std::size_t i = 0; i < count; ++i) data.values.push_back(Value(shape, i, count, spread));
        std::sort(data.values.begin(), data.values.end());
        if (Below(16) != 0) data.values.erase(std::unique(data.values.begin(), data.values.end()), data.values.end());
        const std::uint32_t weights = Below(6);
        for (std::size_t i = 0; i < data.values.size(); ++i) data.frequencies.push_back(Frequency(weights));
        if (Below(64) == 0) std::shuffle(data.values.begin(), data.values.end(), random_);
        if (Below(64) == 0) data.values[Below(static_cast<std::uint32_t>(data.values.size()))] = Odd();
        return data;
    }
    std::uint32_t Below(std::uint32_t limit) { return static_cast<std::uint32_t>(random_()) % limit; }

 private:
    double Unit() { return static_cast<double>(random_() >> 11) * 0x1p-53; }
    double Normal() { return std::sqrt(-2 * std::log(Unit() + 1e-300)) * std::cos(6.283185307179586 * Unit()); }
    double Value(std::uint32_t shape, std::size_t i, std::size_t count, double spread) {
        switch (shape) {
            case 0:  // whole numbers without gaps: everything ties
                return static_cast<double>(i);
            case 1:  // few of many whole numbers, of either sign
                return static_cast<double>(Below(static_cast<std::uint32_t>(4 * count))) - static_cast<double>(count);
            case 2:  // tenths
                return static_cast<double>(Below(static_cast<std::uint32_t>(2 * count))) / 10;
            case 3:
                return Unit() * spread;
            case 4:
                return std::exp(8 + 1.5 * Normal());
            case 5:
                return Normal() * spread;
            case 6:  // far from zero: sums lose most of what tells the values apart
                return 1e9 + Unit();
            case 7:  // clusters
                return static_cast<double>(100 * (Below(7) + 1)) + spread * 1e-4 * Normal();
            case 8:  // over all magnitudes
                return std::exp2(Unit() * 120 - 100) * (Below(2) == 0 ? 1 : -1);
            default:  // even steps that no double holds
                return static_cast<double>(i) * 0.1 + 5;
        }
    }
    std::int32_t Frequency(std::uint32_t weights) {
        switch (weights) {
            case 0:
                return 1;
            case 1:
                return 1 + static_cast<std::int32_t>(Below(20));
            case 2:  // heavy ones among light ones
                return Below(8) == 0 ? std::numeric_limits<std::int32_t>::max() - static_cast<std::int32_t>(Below(2))
                                     : 1;
            case 3:  // some that are none
                return static_cast<std::int32_t>(Below(3));
            case 4:
                return 7;
            default:  // now and then one below zero
                return Below(64) == 0 ? -1 : 2;
        }
    }
    double Odd() {
        const double odd[] = {std::numeric_limits<double>::quiet_NaN(),
                              std::numeric_limits<double>::infinity(),
                              -std::numeric_limits<double>::infinity(),
                              1e308,
                              -1e308,
                              5e-324,
                              0.0,
                              -0.0};
        return odd[Below(8)];
    }

    std::mt19937_64 random_{20};
};

TEST(NaturalClasses, AreThoseOfSummingEachClassAnew) {
    Histograms histograms;
    BlockSums sums;
    const struct {
        int runs;
        std::uint32_t mostValues, mostClasses;
    } rows[] = {{200'000, 40, 6}, {20'000, 300, 12}, {300, 5'000, 40}, {12, 40'000, 64}};
    for (const auto& row : rows) {
        for (int run = 0; run < row.runs; ++run) {
            const Data data = histograms.Next(1 + histograms.Below(row.mostValues));
            const auto count = static_cast<std::uint32_t>(data.values.size());
            const int classCount = 1 + static_cast<int>(histograms.Below(std::min(count, row.mostClasses)));
            ASSERT_EQ(Fast(data, classCount, sums), Direct(data, classCount))
                << "run " << run << " of " << row.mostValues << " values at most";
        }
    }
}

TEST(NaturalClasses, AreThoseOfSummingWhereDoublesEnd) {
    // clang-format off
    const struct {
        double far, from, unit;  // a few values near the first number; others, repeated, some units around the second
    } rows[] = {
        {-1, 0, 0x1p-60},            // what is near 0 is a few of the least steps that are told apart,
        {1.5, 0, -0x1p-61},          // and less than one
        {0x1p390, 0, -0x1p-1000},    // beside the first nothing is left of the others
        {0x1p64, 0, 5e-324},
        {-0x1p70, 0, -5e-324},
        {0x1p300, 0, 0x1p-300},
        {0, 0, 5e-324},
        {0x1p-301, 0, 0x1p-305},     // around the least magnitudes that have exact sums,
        {0x1p-300, 0, -0x1p-352},
        {0x1p399, 0x1p398, 0x1p345}, // and the greatest
        {0x1p400, -0x1p400, 0x1p348},
        {1e308, 1e308, 1e293},
        {0x1p53, 0x1p53, 1},         // sums that no double holds
        {-0x1p53, 0x1p52, 0.5},
        {0x1p80, 1, 0x1p-52},
        {0, 0.1, 0.1},
    };
    // clang-format on
    std::mt19937_64 random(31);
    const auto below = [&](std::uint32_t limit) { return static_cast<std::uint32_t>(random() >> 16) % limit; };
    BlockSums sums;
    for (const auto& row : rows) {
        for (int run = 0; run < 3'000; ++run) {
            std::map<double, std::pair<std::uint32_t, std::int32_t>> runs;  // repetitions and frequency of each value
            for (std::uint32_t far = 1 + below(3); far > 0; --far) runs[row.far * (1 + below(1000) * 0.001)] = {1, 1};
            const std::uint32_t span = 3 + below(below(2) == 0 ? 5 : 200);
            const std::int64_t middle = span / 2;
            const bool hasHeavy = below(3) == 0;
            for (std::uint32_t i = 0; i < span; ++i) {
                const std::int32_t frequency = hasHeavy && below(3) == 0 ? std::numeric_limits<std::int32_t>::max()
                                                                         : 1 + static_cast<std::int32_t>(below(3));
                const auto units = static_cast<double>(std::int64_t{i} - middle);
                runs[row.from + units * row.unit] = {1 + below(span < 8 ? 24 : 2), frequency};
            }
            Data data;
            for (const auto& [value, repeated] : runs) {
                data.values.insert(data.values.end(), repeated.first, value);
                data.frequencies.insert(data.frequencies.end(), repeated.first, repeated.second);
            }
            const auto most = static_cast<std::uint32_t>(data.values.size());
            const int classCount = 1 + static_cast<int>(below(std::max(1U, most / 16)));
            ASSERT_EQ(Fast(data, classCount, sums), Direct(data, classCount))
                << "row " << &row - rows << ", run " << run;
        }
    }
}

TEST(NaturalClasses, OfATieFarFromTheLeastValue) {
    Data data{{-1.407}, {1}};
    const struct {
        std::size_t repetitions;
        double value;
        std::int32_t frequency;
    } runs[] = {{24, -0x1p-60, 1}, {14, 0, 2}, {9, 0x1p-60, 1}};
    for (const auto& run : runs) {
        data.values.insert(data.values.end(), run.repetitions, run.value);
        data.frequencies.insert(data.frequencies.end(), run.repetitions, run.frequency);
    }
    BlockSums sums;
    EXPECT_EQ(Direct(data, 3), (std::vector<std::int32_t>{-1, 0, 24, 47}));
    EXPECT_EQ(Fast(data, 3, sums), Direct(data, 3));
}

TEST(NaturalClasses, OfKnownData) {
    const struct {
        Data data;
        int classCount;
        std::vector<std::int32_t> bounds;
    } rows[] = {
        {{{5}, {1}}, 1, {-1, 0}},
        {{{1, 2}, {1, 1}}, 2, {-1, 0, 1}},
        {{{1, 2, 3, 10, 11, 12}, {1, 1, 1, 1, 1, 1}}, 2, {-1, 2, 5}},
        {{{1, 2, 3, 10, 11, 12}, {0, 0, 0, 0, 0, 0}}, 2, {}},
        {{{1, 2, 3, 10, 11, 12}, {0, 0, 0, 1, 1, 1}}, 2, {}},
        {{{1, 2, 10}, {1, 1, 1}}, 2, {-1, 1, 2}},
    };
    BlockSums sums;
    for (const auto& row : rows) EXPECT_EQ(Fast(row.data, row.classCount, sums), row.bounds);
}

}  // namespace
}  // namespace mova
