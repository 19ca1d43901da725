#pragma once

#include <cstddef>
#include <vector>

#include "classify/ClassSums.h"
#include "classify/Histogram.h"

namespace mova {

/// The sums over any run of a histogram's values in the time that a few dozen values take.
///
/// Values are taken as whole multiples of a step, counted from the smallest: the step is the 2^-61th part of the power
/// of two above the greatest value, so whatever is not a thousand times smaller than that one keeps all its bits. Sums
/// up to every 32nd value are kept. Being integers they are exact: what a class's sums say does not depend on how they
/// came about.
class BlockSums {
 public:
    /// Makes the sums of a histogram, which must outlive their use; its memory is kept for the next one. One pass.
    /// @return false for what they cannot be made of: values that descend, are not finite, are all 0 or have squares
    ///     outside the range of a double, and negative frequencies. @throw std::bad_alloc
    bool Make(const HistogramView& data);

    /// The sums over the values from an index up to, and without, another.
    ClassSums Between(std::size_t begin, std::size_t end) const noexcept;

    /// The place of a value on the grid.
    std::uint64_t Place(std::size_t index) const noexcept { return PlaceOf(data_.values[index]); }
    /// Grid steps in one unit of the values, a power of two, and the reverse.
    double StepsPerUnit() const noexcept { return scale_; }
    double Step() const noexcept { return 1 / scale_; }
    /// The grid's zero counted from the values' zero, in steps; below 2^61 either way.
    std::int64_t Origin() const noexcept { return origin_; }

    /// Whether the values from an index to another, both included, all lie on the grid. Others lie less than one step
    /// farther from zero than their place.
    bool AreExact(std::size_t first, std::size_t last) const noexcept {
        return last < inexactBegin_ || first >= inexactEnd_;
    }
    /// Whether every sum of values times frequencies, in whatever order, is exact in doubles.
    bool SumsAreExactInDoubles() const noexcept { return sumsAreExactInDoubles_; }

 private:
    static constexpr std::size_t blockSize = 32;

    std::uint64_t PlaceOf(double value) const noexcept {
        return static_cast<std::uint64_t>(static_cast<std::int64_t>(value * scale_) - origin_);
    }
    ClassSums SumUp(std::size_t begin, std::size_t end) const noexcept;
    /// The sums over all values in front of an index.
    ClassSums Before(std::size_t index) const noexcept;

    HistogramView data_;
    double scale_ = 1;
    std::int64_t origin_ = 0;
    std::size_t inexactBegin_ = 0, inexactEnd_ = 0;
    bool sumsAreExactInDoubles_ = false;
    std::vector<ClassSums> before_;  ///< each block: the sums over all values in front of it; then those over all
};

}  // namespace mova
