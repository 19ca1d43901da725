// The methods that lay breaks by a rule. Each makes its breaks in place of those in the vector; where it refuses, they
// stay. The first break is the lower limit of the first class, each further one the upper limit of a class.
#pragma once

#include <vector>

#include "classify/Histogram.h"

namespace mova {

enum class BreakOutcome {
    done,
    noClass,  ///< there is no break inside the data; nothing is refused
    endless,  ///< a number that is none, or a step too small for its neighbourhood: breaks would not come to an end
    tooMany,  ///< more than mostBreaks, or than so many steps to find them
    badFrequencies  ///< frequencies below 0 that leave a class without a value
};

struct Range {
    double minimum = 0, maximum = 0;
};

/// Classes of equal width, the upper limits by adding the width again and again, the last one exactly the maximum. One
/// class where the limits are equal. @param classCount 1 or more. @throw std::bad_alloc
BreakOutcome EqualIntervalBreaks(Range range, std::int64_t classCount, std::vector<double>& breaks);

/// Classes of about the same total frequency, made of whole values.
/// @param data one value at least
/// @param classCount 1 or more; becomes the number of classes made. @throw std::bad_alloc
BreakOutcome QuantileBreaks(const HistogramView& data, std::int64_t& classCount, std::vector<double>& breaks);

/// What breaks at fractions of the standard deviation are laid by; the defaults are those of a new object.
struct DeviationLayout {
    double interval = 1;  ///< the width of a class as a multiple of the standard deviation
    double mean = 0, deviation = 0;
    bool isLimited = true;       ///< breaks only within three standard deviations
    bool meanIsCentered = true;  ///< without limit: the mean in the middle of a class, not on a break
};

/// @param range the smallest and the greatest value
/// @param classCount out only; stays where there is no class. The breaks are then empty. @throw std::bad_alloc
BreakOutcome DeviationBreaks(Range range, const DeviationLayout& layout, std::int64_t& classCount,
                             std::vector<double>& breaks);

/// Classes that end at the multiples of a width, the first and the last cut to the range.
/// @param width finite and above 0. @param classCount out only. @throw std::bad_alloc
BreakOutcome DefinedIntervalBreaks(Range range, double width, std::int64_t& classCount, std::vector<double>& breaks);

/// Classes each of which is wider, or narrower, than the one before by the same factor. The factor is the one that lets
/// half of all observations fall into the lower half of the classes: with p the place of the median in the range, 0 to
/// 1, it is ((1 - p) / p)^(2 / classes); p is held between 1e-6 and 1 - 1e-6. A median in the middle gives equal
/// widths.
/// @param data one value at least, ascending. @param classCount 1 or more; becomes 1 where all values are equal.
/// @return badFrequencies where one is below 0 or all are 0; endless for values that are not finite or do not ascend
/// @throw std::bad_alloc
BreakOutcome GeometricalBreaks(const HistogramView& data, std::int64_t& classCount, std::vector<double>& breaks);

}  // namespace mova
