#include "classify/BlockSums.h"

#include <algorithm>
#include <bit>
#include <cmath>

namespace mova {
namespace {

constexpr int gridBits = 61;
// Beyond these powers of two, squares of differences times frequencies would leave the range of a double, or what is
// lost below its smallest number would matter.
constexpr int leastExponent = -300;
constexpr int greatestExponent = 400;
constexpr int doubleBits = 53;

}  // namespace

bool BlockSums::Make(const HistogramView& data) {
    data_ = data;
    const std::size_t count = data.values.size();
    if (count == 0) return false;
    const double greatest = std::max(std::fabs(data.values.front()), std::fabs(data.values.back()));
    int exponent = 0;
    std::frexp(greatest, &exponent);
    if (!(greatest > 0) || !std::isfinite(greatest) || exponent < leastExponent || exponent > greatestExponent)
        return false;
    scale_ = std::ldexp(1.0, gridBits - exponent);
    origin_ = static_cast<std::int64_t>(data.values.front() * scale_);
    inexactBegin_ = count;
    inexactEnd_ = 0;
    before_.clear();
    before_.reserve(count / blockSize + 2);

    const double step = Step();
    ClassSums sums;
    std::uint64_t usedBits = 0;  // of all places, counted from the values' zero
    double previous = data.values.front();
    for (std::size_t begin = 0; begin < count; begin += blockSize) {
        before_.push_back(sums);
        const std::size_t end = std::min(begin + blockSize, count);
        bool isExact = true;
        std::int32_t signs = 0;
        for (std::size_t i = begin; i < end; ++i) {
            const double value = data.values[i];
            if (!(value >= previous && value <= greatest)) return false;  // now, since no other value has a place
            previous = value;
            const auto place = static_cast<std::int64_t>(value * scale_);
            isExact &= static_cast<double>(place) * step == value;  // a value can be lost below the smallest number
            usedBits |= static_cast<std::uint64_t>(place);
            signs |= data.frequencies[i];
            sums.Add(static_cast<std::uint64_t>(place - origin_), static_cast<std::uint32_t>(data.frequencies[i]));
        }
        if (signs < 0) return false;
        if (!isExact) {
            inexactBegin_ = std::min(inexactBegin_, begin);
            inexactEnd_ = end;
        }
    }
    before_.push_back(sums);
    // No partial sum is greater than the weight of all times the greatest value, and each is a multiple of the lowest
    // bit that any value uses.
    sumsAreExactInDoubles_ = inexactEnd_ == 0 && static_cast<double>(sums.weight) * greatest * scale_ <=
                                                     std::ldexp(1.0, std::countr_zero(usedBits) + doubleBits - 1);
    return true;
}

ClassSums BlockSums::SumUp(std::size_t begin, std::size_t end) const noexcept {
    ClassSums sums;
    for (std::size_t i = begin; i < end; ++i) sums.Add(Place(i), static_cast<std::uint32_t>(data_.frequencies[i]));
    return sums;
}

ClassSums BlockSums::Before(std::size_t index) const noexcept {
    const std::size_t block = index / blockSize;
    const std::size_t count = data_.values.size();
    const std::size_t end = std::min((block + 1) * blockSize, count);
    if (index - block * blockSize <= end - index || block + 1 >= before_.size()) {
        ClassSums sums = before_[block];
        return sums += SumUp(block * blockSize, index);
    }
    ClassSums sums = before_[block + 1];
    return sums -= SumUp(index, end);
}

ClassSums BlockSums::Between(std::size_t begin, std::size_t end) const noexcept {
    if (end - begin <= blockSize) return SumUp(begin, end);
    ClassSums sums = Before(end);
    return sums -= Before(begin);
}

}  // namespace mova
