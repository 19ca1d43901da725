// The classifiers that lay their breaks by a rule of the data alone, or of one number.
#pragma once

#include "classify/ClassifyBase.h"

namespace mova {

/// Classes of about the same total frequency.
class Quantile final : public ClassifyBase<Quantile, ::Quantile> {
 public:
    using ClassifyBase::ClassifyBase;

    // ClassifyBase's
    static constexpr UINT methodName = 1011;
    Verdict ComputeBreaks(ClassifierInput& input, LONG& classCount);
};

/// Classes whose widths grow or shrink by one factor.
class GeometricalInterval final : public ClassifyBase<GeometricalInterval, ::GeometricalInterval> {
 public:
    using ClassifyBase::ClassifyBase;

    // ClassifyBase's
    static constexpr UINT methodName = 1030;
    Verdict ComputeBreaks(ClassifierInput& input, LONG& classCount);
};

/// Classes of a given width.
class DefinedInterval final : public ClassifyBase<DefinedInterval, ::DefinedInterval, IClassInterval> {
 public:
    using ClassifyBase::ClassifyBase;

    // IClassInterval
    STDMETHODIMP put_IntervalSize(double width) noexcept override;
    STDMETHODIMP get_IntervalSize(double* width) noexcept override;

    // ClassifyBase's
    static constexpr UINT methodName = 1000;
    Verdict ComputeBreaks(ClassifierInput& input, LONG& classCount);

 private:
    double width_ = 1;
};

}  // namespace mova
