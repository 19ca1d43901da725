#include "classify/Statistics.h"

#include <emmintrin.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <numeric>

namespace mova {
namespace {

constexpr std::size_t blockSize = 1024;  // values and weights of a block stay in the first cache between its two passes
constexpr double infinity = std::numeric_limits<double>::infinity();

/// Two values a lane; four lanes, so that an addition need not wait for the one before it.
constexpr std::size_t lanes = 4;
constexpr std::size_t lanesSize = 2 * lanes;

struct Lanes {
    explicit Lanes(double start) noexcept { std::fill_n(all, lanes, _mm_set1_pd(start)); }
    template <class Operation>
    double Fold(Operation operation) const noexcept {
        std::array<double, lanesSize> parts;
        for (std::size_t i = 0; i < lanes; ++i) _mm_storeu_pd(&parts[2 * i], all[i]);
        return std::accumulate(parts.begin() + 1, parts.end(), parts[0], operation);
    }
    double Sum() const noexcept { return Fold(std::plus<>()); }

    __m128d all[lanes];
};

double Least(double left, double right) noexcept {
    return std::min(left, right);
}
double Greatest(double left, double right) noexcept {
    return std::max(left, right);
}

bool AreFinite(std::span<const double> numbers) noexcept {
    return std::all_of(numbers.begin(), numbers.end(), [](double number) { return std::isfinite(number); });
}

/// What the first pass over a block finds.
struct Totals {
    double weight = 0, sum = 0, minimum = infinity, maximum = -infinity;
    std::int64_t count = 0;

    void Take(double value, double itsWeight) noexcept {
        if (!(itsWeight > 0)) return;
        weight += itsWeight;
        sum += value * itsWeight;
        minimum = std::min(minimum, value);
        maximum = std::max(maximum, value);
        ++count;
    }
};

Totals TotalsOf(std::span<const double> values) noexcept {
    Lanes sum(0);
    Lanes least(infinity);
    Lanes greatest(-infinity);
    std::size_t i = 0;
    for (; i + lanesSize <= values.size(); i += lanesSize) {
        for (std::size_t lane = 0; lane < lanes; ++lane) {
            const __m128d pair = _mm_loadu_pd(&values[i + 2 * lane]);
            sum.all[lane] = _mm_add_pd(sum.all[lane], pair);
            least.all[lane] = _mm_min_pd(least.all[lane], pair);
            greatest.all[lane] = _mm_max_pd(greatest.all[lane], pair);
        }
    }
    Totals totals{static_cast<double>(i), sum.Sum(), least.Fold(Least), greatest.Fold(Greatest),
                  static_cast<std::int64_t>(i)};
    for (; i < values.size(); ++i) totals.Take(values[i], 1);
    return totals;
}

Totals TotalsOf(std::span<const double> values, std::span<const double> weights) noexcept {
    Totals totals;
    for (std::size_t i = 0; i < values.size(); ++i) totals.Take(values[i], weights[i]);
    return totals;
}

/// What the second pass over a block finds, with the mean of the first, which may be off by a rounding.
struct Deviations {
    Deviations(double square, double rest, double weight) noexcept
        : squares(square), meanRest(std::isfinite(rest) ? rest / weight : 0) {
        if (std::isfinite(square)) squares = std::max(0.0, square - rest * meanRest);
    }

    double squares;   ///< from the mean itself
    double meanRest;  ///< what the first pass's mean lacks of it
};

Deviations DeviationsOf(std::span<const double> values, double mean) noexcept {
    Lanes squares(0);
    Lanes rests(0);
    const __m128d center = _mm_set1_pd(mean);
    std::size_t i = 0;
    for (; i + lanesSize <= values.size(); i += lanesSize) {
        for (std::size_t lane = 0; lane < lanes; ++lane) {
            const __m128d distance = _mm_sub_pd(_mm_loadu_pd(&values[i + 2 * lane]), center);
            squares.all[lane] = _mm_add_pd(squares.all[lane], _mm_mul_pd(distance, distance));
            rests.all[lane] = _mm_add_pd(rests.all[lane], distance);
        }
    }
    double square = squares.Sum();
    double rest = rests.Sum();
    for (; i < values.size(); ++i) {
        square += (values[i] - mean) * (values[i] - mean);
        rest += values[i] - mean;
    }
    return {square, rest, static_cast<double>(values.size())};
}

Deviations DeviationsOf(std::span<const double> values, std::span<const double> weights, double mean,
                        double weight) noexcept {
    double square = 0;
    double rest = 0;
    for (std::size_t i = 0; i < values.size(); ++i) {
        if (!(weights[i] > 0)) continue;  // a square that is infinite would count all the same
        const double distance = values[i] - mean;
        square += distance * distance * weights[i];
        rest += distance * weights[i];
    }
    return {square, rest, weight};
}

/// Adds to a number, and what rounding takes off it to its rest.
void AddWithRest(double& number, double& rest, double added) noexcept {
    const double sum = number + added;
    rest += std::fabs(number) >= std::fabs(added) ? (number - sum) + added : (added - sum) + number;
    number = sum;
}

}  // namespace

void Statistics::Merge(const Statistics& block) noexcept {
    if (block.count_ == 0) return;
    if (count_ == 0) {
        *this = block;
        return;
    }
    const double weight = weight_ + block.weight_;
    const double apart = (block.mean_ - mean_) + (block.meanRest_ - meanRest_);
    const double share = block.weight_ / weight;
    squares_ += block.squares_ + apart * apart * weight_ * share;
    // Means at both ends of the range are farther apart than a double can be.
    AddWithRest(mean_, meanRest_, std::isfinite(apart) ? apart * share : block.mean_ * share - mean_ * share);
    AddWithRest(sum_, lostOfSum_, block.sum_);
    weight_ = weight;
    count_ += block.count_;
    minimum_ = std::min(minimum_, block.minimum_);
    maximum_ = std::max(maximum_, block.maximum_);
}

double Statistics::Sum() const noexcept {
    return std::isfinite(sum_) ? sum_ + lostOfSum_ : Mean() * weight_;
}

Statistics Statistics::OfBlock(std::span<const double> values, std::span<const double> weights) noexcept {
    const bool isWeighted = !weights.empty();
    const Totals totals = isWeighted ? TotalsOf(values, weights) : TotalsOf(values);
    Statistics block;
    if (totals.count == 0) return block;
    block.count_ = totals.count;
    block.weight_ = totals.weight;
    block.sum_ = totals.sum;
    block.minimum_ = totals.minimum;
    block.maximum_ = totals.maximum;
    block.mean_ = totals.sum / totals.weight;
    if (!std::isfinite(totals.sum)) {  // the values may be finite all the same
        block.mean_ = 0;
        for (std::size_t i = 0; i < values.size(); ++i)
            block.mean_ += values[i] * ((isWeighted ? weights[i] : 1) / totals.weight);
    }
    const Deviations deviations =
        isWeighted ? DeviationsOf(values, weights, block.mean_, totals.weight) : DeviationsOf(values, block.mean_);
    block.squares_ = deviations.squares;
    block.meanRest_ = deviations.meanRest;
    return block;
}

bool Statistics::Add(std::span<const double> values) noexcept {
    Statistics all = *this;
    while (!values.empty()) {
        const auto part = values.first(std::min(blockSize, values.size()));
        values = values.subspan(part.size());
        const Statistics block = OfBlock(part, {});
        // A number that is none, or infinite, stays in every sum that it enters.
        if (!std::isfinite(block.sum_) && !AreFinite(part)) return false;
        all.Merge(block);
    }
    *this = all;
    return true;
}

bool Statistics::Add(std::span<const double> values, std::span<const double> weights) noexcept {
    Statistics all = *this;
    while (!values.empty()) {
        const auto part = values.first(std::min(blockSize, values.size()));
        const auto partWeights = weights.first(part.size());
        values = values.subspan(part.size());
        weights = weights.subspan(part.size());
        if (!AreFinite(part) || !AreFinite(partWeights) ||
            *std::min_element(partWeights.begin(), partWeights.end()) < 0)
            return false;
        all.Merge(OfBlock(part, partWeights));
        if (!std::isfinite(all.weight_)) return false;
    }
    *this = all;
    return true;
}

HistogramOutcome MakeHistogram(std::span<const double> numbers, std::span<const std::int32_t> occurrences,
                               DistinctValues& made) {
    struct Entry {
        double value;
        std::int64_t frequency;
    };
    if (!AreFinite(numbers)) return HistogramOutcome::notFinite;
    std::vector<Entry> entries;
    entries.reserve(numbers.size());
    for (std::size_t i = 0; i < numbers.size(); ++i)
        entries.push_back({numbers[i], occurrences.empty() ? 1 : occurrences[i]});
    std::sort(entries.begin(), entries.end(), [](const Entry& a, const Entry& b) { return a.value < b.value; });
    DistinctValues found;
    for (auto entry = entries.begin(); entry != entries.end();) {
        const double value = entry->value;
        std::int64_t frequency = 0;
        for (; entry != entries.end() && entry->value == value; ++entry) frequency += entry->frequency;
        if (frequency != static_cast<std::int32_t>(frequency)) return HistogramOutcome::outOfRange;
        found.values.push_back(value + 0.0);  // which makes the negative zero a zero
        found.frequencies.push_back(static_cast<std::int32_t>(frequency));
    }
    made = std::move(found);
    return HistogramOutcome::done;
}

}  // namespace mova
