#include "classify/NaturalBreaks.h"

#include <cfloat>

#include "classify/NaturalClasses.h"

namespace mova {

Verdict NaturalBreaks::ComputeBreaks(ClassifierInput& input, LONG& classCount) {
    if (classCount < 1 || classCount > mostNaturalClasses)
        return {E_INVALIDARG, u"From 1 to 256 classes can be asked for."};
    if (input.ValueCount() == 0) {
        classCount = 0;
        return {};
    }
    if (const Verdict verdict = input.Read()) return verdict;
    const HistogramView& data = input.Data();
    classCount = std::min(classCount, static_cast<LONG>(data.values.size()));
    NaturalBounds bounds;
    Breaks().reserve(mostNaturalClasses + 1);
    if (!FindNaturalBounds(data, static_cast<int>(classCount), sums_, bounds)) {
        _fpreset();  // what sums that are none have left
        classCount = 0;
        return {.status = S_FALSE};
    }
    Breaks().assign(1, data.values.front());
    for (LONG i = 1; i <= classCount; ++i)
        Breaks().push_back(data.values[static_cast<std::size_t>(bounds[static_cast<std::size_t>(i)])]);
    return {};
}

}  // namespace mova
