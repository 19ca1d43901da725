#pragma once

#include <movaSystem.h>

#include "classify/Statistics.h"
#include "server/Component.h"

namespace mova {

/// Statistics over a stream of numbers, and histograms.
class BaseStatistics final : public Component<BaseStatistics, ::BaseStatistics, IBaseStatistics, IHistogramMaker> {
 public:
    using Component::Component;

    // IBaseStatistics
    STDMETHODIMP AddValue(double value) noexcept override;
    STDMETHODIMP AddWeightedValue(double value, double weight) noexcept override;
    STDMETHODIMP AddValues(VARIANT values) noexcept override;
    STDMETHODIMP AddWeightedValues(VARIANT values, VARIANT weights) noexcept override;
    STDMETHODIMP Reset() noexcept override;
    STDMETHODIMP get_Count(LONGLONG* number) noexcept override;
    STDMETHODIMP get_TotalWeight(double* weight) noexcept override;
    STDMETHODIMP get_Sum(double* total) noexcept override;
    STDMETHODIMP get_Mean(double* average) noexcept override;
    STDMETHODIMP get_Minimum(double* value) noexcept override;
    STDMETHODIMP get_Maximum(double* value) noexcept override;
    STDMETHODIMP get_Variance(double* square) noexcept override;
    STDMETHODIMP get_StandardDeviation(double* deviation) noexcept override;
    STDMETHODIMP get_PopulationVariance(double* square) noexcept override;
    STDMETHODIMP get_PopulationStandardDeviation(double* deviation) noexcept override;
    // IHistogramMaker
    STDMETHODIMP MakeHistogram(VARIANT numbers, VARIANT occurrences, VARIANT* values,
                               VARIANT* frequencies) noexcept override;

 private:
    /// Hands out what there is of one value at least.
    HRESULT OfSome(double* result, double value) const noexcept;
    /// Hands out squared deviations by a total weight less something, or the root of that.
    HRESULT Spread(double* result, double lessWeight, bool takesRoot) const noexcept;

    Statistics statistics_;
};

}  // namespace mova
