#pragma once

#include "classify/ClassifyBase.h"

namespace mova {

/// Classes of equal width between the smallest and the greatest value, or between given limits.
class EqualInterval final
    : public ClassifyBase<EqualInterval, ::EqualInterval, Generations<IClassifyMinMax2, IClassifyMinMax>> {
 public:
    using ClassifyBase::ClassifyBase;

    // IClassifyMinMax
    STDMETHODIMP put_Minimum(double limit) noexcept override;
    STDMETHODIMP put_Maximum(double limit) noexcept override;
    STDMETHODIMP get_Minimum(double* limit) noexcept override;
    STDMETHODIMP get_Maximum(double* limit) noexcept override;
    // IClassifyMinMax2
    STDMETHODIMP get_HasLimits(VARIANT_BOOL* both) noexcept override;
    STDMETHODIMP ClearLimits() noexcept override;

    // ClassifyBase's
    static constexpr UINT methodName = 1004;
    Verdict ComputeBreaks(ClassifierInput& input, LONG& classCount);

 private:
    Range limits_;
    bool hasMinimum_ = false, hasMaximum_ = false;
};

}  // namespace mova
