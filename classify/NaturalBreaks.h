#pragma once

#include "classify/BlockSums.h"
#include "classify/ClassifyBase.h"

namespace mova {

/// Natural breaks; the method is in NaturalClasses.h.
class NaturalBreaks final : public ClassifyBase<NaturalBreaks, ::NaturalBreaks> {
 public:
    using ClassifyBase::ClassifyBase;

    // ClassifyBase's
    static constexpr UINT methodName = 1006;
    Verdict ComputeBreaks(ClassifierInput& input, LONG& classCount);

 private:
    BlockSums sums_;  ///< memory of the last run
};

}  // namespace mova
