#pragma once

#include <array>

#include "classify/BlockSums.h"

namespace mova {

/// Bounds[i] is the index of the last value of class i-1: class i holds the values from bounds[i]+1 to bounds[i+1],
/// bounds[0] is -1 and the last one that counts is the index of the last value.
using NaturalBounds = std::array<std::int32_t, mostNaturalClasses + 1>;

/// Divides a histogram into classes so that the sum of squared deviations from the class means is small: values are
/// reassigned to the class with the nearer mean while that helps, then bounds are shifted value by value.
///
/// What comes out is, to the last comparison, what summing each class anew in doubles for every comparison makes of the
/// same data. That is not done: classes have exact sums (BlockSums), from which follow limits for what summing in
/// doubles would give. Where the limits of two sums overlap, and only there, the classes are summed. Data that have no
/// BlockSums, or few values, are summed throughout.
///
/// @param data at least one value and at most 2^31 - 1.
/// @param classCount 1 to 256, and not more than there are values.
/// @param sums memory for the run, used again by the next one; nothing else is allocated.
/// @return false where a class came to hold no weight, or less. @throw std::bad_alloc
bool FindNaturalBounds(const HistogramView& data, int classCount, BlockSums& sums, NaturalBounds& bounds);

}  // namespace mova
