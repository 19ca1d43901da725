#pragma once

#include <cstdint>
#include <span>
#include <vector>

namespace mova {

/// Statistics over a stream of numbers, in one pass and without keeping them.
///
/// Values are taken in blocks: of each, the mean, and the squared deviations from it, which are then merged into those
/// of the values before. So no difference of great sums is taken, and the relative error of the variance stays near
/// that of a double however far from zero the values lie. Sums are carried with what rounding takes off them.
class Statistics {
 public:
    /// Adds values, each with weight 1. @return false, nothing added, where one is not finite
    bool Add(std::span<const double> values) noexcept;
    /// Adds as many values as weights; a weight counts as so many equal values.
    /// @return false, nothing added, where a value or weight is not finite, a weight is below 0, or the total weight
    ///     would be infinite
    bool Add(std::span<const double> values, std::span<const double> weights) noexcept;

    /// Values of a weight above 0.
    std::int64_t Count() const noexcept { return count_; }
    double Weight() const noexcept { return weight_; }
    /// Infinite where it leaves the range of a double, as are variances.
    double Sum() const noexcept;
    double Mean() const noexcept { return mean_ + meanRest_; }  ///< of one value at least
    double Minimum() const noexcept { return minimum_; }        ///< the same
    double Maximum() const noexcept { return maximum_; }        ///< the same
    double Squares() const noexcept { return squares_; }  ///< weighted squared deviations from the mean, not below 0

 private:
    /// Of one value at least. @param weights empty where all are 1
    static Statistics OfBlock(std::span<const double> values, std::span<const double> weights) noexcept;
    void Merge(const Statistics& block) noexcept;

    std::int64_t count_ = 0;
    double weight_ = 0;
    double sum_ = 0, lostOfSum_ = 0;
    double mean_ = 0, meanRest_ = 0;  ///< the mean is their sum
    double squares_ = 0;
    double minimum_ = 0, maximum_ = 0;
};

/// The distinct values among numbers, ascending, and how often each occurs.
struct DistinctValues {
    std::vector<double> values;
    std::vector<std::int32_t> frequencies;
};

enum class HistogramOutcome { done, notFinite, outOfRange };

/// Makes the histogram of numbers in any order. Zeros of both signs are one value.
/// @param occurrences how often each number counts, below 0 too; empty where each counts once.
/// @return outOfRange where the occurrences of a value leave 32 bits. @throw std::bad_alloc
HistogramOutcome MakeHistogram(std::span<const double> numbers, std::span<const std::int32_t> occurrences,
                               DistinctValues& made);

}  // namespace mova
