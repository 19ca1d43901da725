#pragma once

#include "classify/ClassifyBase.h"

namespace mova {

/// Breaks at fractions of the standard deviation around the mean; the caller gives both.
class StandardDeviation final
    : public ClassifyBase<StandardDeviation, ::StandardDeviation, IDeviationInterval, IDeviationInterval2> {
 public:
    using ClassifyBase::ClassifyBase;

    // IDeviationInterval
    STDMETHODIMP put_DeviationInterval(double width) noexcept override;
    STDMETHODIMP get_DeviationInterval(double* width) noexcept override;
    STDMETHODIMP put_Mean(double average) noexcept override;
    STDMETHODIMP put_StandardDev(double deviation) noexcept override;
    STDMETHODIMP put_CenterClassOnMean(VARIANT_BOOL center) noexcept override;
    STDMETHODIMP get_CenterClassOnMean(VARIANT_BOOL* center) noexcept override;
    // IDeviationInterval2
    STDMETHODIMP put_LimitToThreeDeviations(VARIANT_BOOL limit) noexcept override;
    STDMETHODIMP get_LimitToThreeDeviations(VARIANT_BOOL* limit) noexcept override;

    // ClassifyBase's
    static constexpr UINT methodName = 1014;
    Verdict ComputeBreaks(ClassifierInput& input, LONG& classCount);

 private:
    DeviationLayout layout_;
    bool hasMean_ = false, hasDeviation_ = false;
};

}  // namespace mova
