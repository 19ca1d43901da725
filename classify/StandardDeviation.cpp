#include "classify/StandardDeviation.h"

namespace mova {
namespace {

constexpr double leastLimitedInterval = 0.25;
constexpr double greatestLimitedInterval = 2.0;

constexpr VARIANT_BOOL ToVariantBool(bool flag) noexcept {
    return flag ? VARIANT_TRUE : VARIANT_FALSE;
}

}  // namespace

STDMETHODIMP StandardDeviation::put_DeviationInterval(double width) noexcept {
    if (layout_.isLimited && !(width >= leastLimitedInterval && width <= greatestLimitedInterval))
        return Refuse<IDeviationInterval>(E_INVALIDARG, u"Within three deviations a class is 0.25 to 2 of them wide.");
    if (!(width > 0)) return Refuse<IDeviationInterval>(E_INVALIDARG, u"The width of a class must be above 0.");
    layout_.interval = width;
    return S_OK;
}

STDMETHODIMP StandardDeviation::get_DeviationInterval(double* width) noexcept {
    if (!width) return Refuse(E_POINTER);
    *width = layout_.interval;
    return S_OK;
}

STDMETHODIMP StandardDeviation::put_Mean(double average) noexcept {
    layout_.mean = average;
    hasMean_ = true;
    return S_OK;
}

STDMETHODIMP StandardDeviation::put_StandardDev(double deviation) noexcept {
    layout_.deviation = deviation;
    hasDeviation_ = true;
    return S_OK;
}

STDMETHODIMP StandardDeviation::put_CenterClassOnMean(VARIANT_BOOL center) noexcept {
    layout_.meanIsCentered = center == VARIANT_TRUE;
    return S_OK;
}

STDMETHODIMP StandardDeviation::get_CenterClassOnMean(VARIANT_BOOL* center) noexcept {
    if (!center) return Refuse(E_POINTER);
    *center = ToVariantBool(layout_.meanIsCentered);
    return S_OK;
}

STDMETHODIMP StandardDeviation::put_LimitToThreeDeviations(VARIANT_BOOL limit) noexcept {
    layout_.isLimited = limit != VARIANT_FALSE;  // any other value, unlike the flag above
    return S_OK;
}

STDMETHODIMP StandardDeviation::get_LimitToThreeDeviations(VARIANT_BOOL* limit) noexcept {
    if (!limit) return Refuse(E_POINTER);
    *limit = ToVariantBool(layout_.isLimited);
    return S_OK;
}

Verdict StandardDeviation::ComputeBreaks(ClassifierInput& input, LONG& classCount) {
    if (classCount < 1) return tooFewClasses;
    if (input.ValueCount() == 0 || !input.HasArrays()) {
        classCount = 0;
        return {};
    }
    if (!hasMean_ || !hasDeviation_)
        return {E_FAIL, u"The mean and the standard deviation of the data must be set first."};
    if (const Verdict verdict = input.Read()) return verdict;
    const Range range{input.Data().values.front(), input.Data().values.back()};
    std::int64_t count = classCount;
    const Verdict verdict = StatusOf(DeviationBreaks(range, layout_, count, Breaks()));
    classCount = static_cast<LONG>(count);
    return verdict;
}

}  // namespace mova
