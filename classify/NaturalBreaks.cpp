#include "classify/NaturalBreaks.h"

#include <cfloat>

#include "classify/NaturalClasses.h"

namespace mova {

Verdict NaturalBreaks::ComputeBreaks(const ClassifierInput& input, LONG& classCount) {
    if (classCount < 1 || classCount > mostNaturalClasses)
        return {E_INVALIDARG, u"From 1 to 256 classes can be asked for."};
    if (input.valueCount == 0) {
        classCount = 0;
        return {};
    }
    if (!input.hasArrays) return noHistogram;
    classCount = std::min(classCount, static_cast<LONG>(input.data.values.size()));
    NaturalBounds bounds;
    Breaks().reserve(mostNaturalClasses + 1);
    if (!FindNaturalBounds(input.data, static_cast<int>(classCount), sums_, bounds)) {
        _fpreset();  // what sums that are none have left
        classCount = 0;
        return {.status = S_FALSE};
    }
    Breaks().assign(1, input.data.values.front());
    for (LONG i = 1; i <= classCount; ++i)
        Breaks().push_back(input.data.values[static_cast<std::size_t>(bounds[static_cast<std::size_t>(i)])]);
    return {};
}

}  // namespace mova
