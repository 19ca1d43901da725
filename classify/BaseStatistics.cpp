#include "classify/BaseStatistics.h"

#include <cmath>

#include "classify/NumberArray.h"

namespace mova {
namespace {

constexpr auto badValue = u"A value is not finite.";
constexpr auto badWeight = u"A value, a weight or the total weight is not finite, or a weight is below 0.";

}  // namespace

STDMETHODIMP BaseStatistics::AddValue(double value) noexcept {
    if (!statistics_.Add({&value, 1})) return Refuse<IBaseStatistics>(E_INVALIDARG, badValue);
    return S_OK;
}

STDMETHODIMP BaseStatistics::AddWeightedValue(double value, double weight) noexcept {
    if (!statistics_.Add({&value, 1}, {&weight, 1})) return Refuse<IBaseStatistics>(E_INVALIDARG, badWeight);
    return S_OK;
}

STDMETHODIMP BaseStatistics::AddValues(VARIANT values) noexcept try {
    NumberArray<double> numbers;
    if (const Verdict verdict = numbers.Open(values)) return Refuse<IBaseStatistics>(verdict.status, verdict.text);
    if (!statistics_.Add(numbers.Numbers())) return Refuse<IBaseStatistics>(E_INVALIDARG, badValue);
    return S_OK;
} catch (...) {
    return CaughtStatus();
}

STDMETHODIMP BaseStatistics::AddWeightedValues(VARIANT values, VARIANT weights) noexcept try {
    NumberArray<double> numbers;
    NumberArray<double> numbersOfWeights;
    if (const Verdict verdict = numbers.Open(values)) return Refuse<IBaseStatistics>(verdict.status, verdict.text);
    if (const Verdict verdict = numbersOfWeights.Open(weights))
        return Refuse<IBaseStatistics>(verdict.status, verdict.text);
    if (numbers.Numbers().size() != numbersOfWeights.Numbers().size())
        return Refuse<IBaseStatistics>(E_INVALIDARG, u"There must be as many weights as values.");
    if (!statistics_.Add(numbers.Numbers(), numbersOfWeights.Numbers()))
        return Refuse<IBaseStatistics>(E_INVALIDARG, badWeight);
    return S_OK;
} catch (...) {
    return CaughtStatus();
}

STDMETHODIMP BaseStatistics::Reset() noexcept {
    statistics_ = {};
    return S_OK;
}

STDMETHODIMP BaseStatistics::get_Count(LONGLONG* number) noexcept {
    if (!number) return Refuse(E_POINTER);
    *number = statistics_.Count();
    return S_OK;
}

STDMETHODIMP BaseStatistics::get_TotalWeight(double* weight) noexcept {
    if (!weight) return Refuse(E_POINTER);
    *weight = statistics_.Weight();
    return S_OK;
}

STDMETHODIMP BaseStatistics::get_Sum(double* total) noexcept {
    if (!total) return Refuse(E_POINTER);
    *total = statistics_.Sum();
    return S_OK;
}

STDMETHODIMP BaseStatistics::get_Mean(double* average) noexcept {
    return OfSome(average, statistics_.Mean());
}

STDMETHODIMP BaseStatistics::get_Minimum(double* value) noexcept {
    return OfSome(value, statistics_.Minimum());
}

STDMETHODIMP BaseStatistics::get_Maximum(double* value) noexcept {
    return OfSome(value, statistics_.Maximum());
}

STDMETHODIMP BaseStatistics::get_Variance(double* square) noexcept {
    return Spread(square, 1, false);
}

STDMETHODIMP BaseStatistics::get_StandardDeviation(double* deviation) noexcept {
    return Spread(deviation, 1, true);
}

STDMETHODIMP BaseStatistics::get_PopulationVariance(double* square) noexcept {
    return Spread(square, 0, false);
}

STDMETHODIMP BaseStatistics::get_PopulationStandardDeviation(double* deviation) noexcept {
    return Spread(deviation, 0, true);
}

HRESULT BaseStatistics::OfSome(double* result, double value) const noexcept {
    if (!result) return Refuse(E_POINTER);
    *result = 0;
    if (statistics_.Count() == 0) return Refuse<IBaseStatistics>(E_FAIL, u"There are no values.");
    *result = value;
    return S_OK;
}

HRESULT BaseStatistics::Spread(double* result, double lessWeight, bool takesRoot) const noexcept {
    if (!result) return Refuse(E_POINTER);
    *result = 0;
    const double weight = statistics_.Weight() - lessWeight;
    if (!(weight > 0)) return Refuse<IBaseStatistics>(E_FAIL, u"There are too few values.");
    const double variance = statistics_.Squares() / weight;
    *result = takesRoot ? std::sqrt(variance) : variance;
    return S_OK;
}

STDMETHODIMP BaseStatistics::MakeHistogram(VARIANT numbers, VARIANT occurrences, VARIANT* values,
                                           VARIANT* frequencies) noexcept try {
    if (values) VariantInit(values);
    if (frequencies) VariantInit(frequencies);
    if (!values || !frequencies) return Refuse(E_POINTER);
    NumberArray<double> openNumbers;
    NumberArray<std::int32_t> openOccurrences;
    if (const Verdict verdict = openNumbers.Open(numbers)) return Refuse<IHistogramMaker>(verdict.status, verdict.text);
    const VARIANT* const given = kv::Referred(occurrences);
    const bool isGiven = given && given->vt != VT_EMPTY;
    if (isGiven) {
        if (const Verdict verdict = openOccurrences.Open(occurrences))
            return Refuse<IHistogramMaker>(verdict.status, verdict.text);
        if (openOccurrences.Numbers().size() != openNumbers.Numbers().size())
            return Refuse<IHistogramMaker>(E_INVALIDARG, u"There must be as many occurrences as numbers.");
    }
    DistinctValues made;
    const HistogramOutcome outcome = mova::MakeHistogram(openNumbers.Numbers(), openOccurrences.Numbers(), made);
    if (outcome == HistogramOutcome::notFinite) return Refuse<IHistogramMaker>(E_INVALIDARG, badValue);
    if (outcome != HistogramOutcome::done)
        return Refuse<IHistogramMaker>(E_INVALIDARG, u"The occurrences of a value leave 32 bits.");
    auto madeValues = kv::Variant::Attach(ArrayOf<double>(made.values));
    *frequencies = ArrayOf<std::int32_t>(made.frequencies);
    *values = madeValues.Detach();
    return S_OK;
} catch (...) {
    return CaughtStatus();
}

}  // namespace mova
