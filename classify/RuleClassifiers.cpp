#include "classify/RuleClassifiers.h"

#include <cmath>

namespace mova {
namespace {

/// What these methods ask before they begin. @return whether the run is over
bool IsOver(const ClassifierInput& input, LONG& classCount, Verdict& verdict) {
    if (classCount < 1) {
        verdict = tooFewClasses;
        return true;
    }
    if (input.valueCount != 0 && input.hasArrays) return false;
    classCount = 0;
    return true;
}

/// Runs a method with the wider count that it takes.
template <class Method>
Verdict Run(const ClassifierInput& input, LONG& classCount, Method method) {
    Verdict verdict;
    if (IsOver(input, classCount, verdict)) return verdict;
    std::int64_t count = classCount;
    verdict = StatusOf(method(count));
    classCount = static_cast<LONG>(count);
    return verdict;
}

}  // namespace

Verdict Quantile::ComputeBreaks(const ClassifierInput& input, LONG& classCount) {
    return Run(input, classCount, [&](std::int64_t& count) { return QuantileBreaks(input.data, count, Breaks()); });
}

Verdict GeometricalInterval::ComputeBreaks(const ClassifierInput& input, LONG& classCount) {
    return Run(input, classCount, [&](std::int64_t& count) { return GeometricalBreaks(input.data, count, Breaks()); });
}

STDMETHODIMP DefinedInterval::put_IntervalSize(double width) noexcept {
    if (!(width > 0) || !std::isfinite(width))
        return Refuse<IClassInterval>(E_INVALIDARG, u"The width of a class must be a finite number above 0.");
    width_ = width;
    return S_OK;
}

STDMETHODIMP DefinedInterval::get_IntervalSize(double* width) noexcept {
    if (!width) return Refuse(E_POINTER);
    *width = width_;
    return S_OK;
}

Verdict DefinedInterval::ComputeBreaks(const ClassifierInput& input, LONG& classCount) {
    return Run(input, classCount, [&](std::int64_t& count) {
        const Range range{input.data.values.front(), input.data.values.back()};
        return DefinedIntervalBreaks(range, width_, count, Breaks());
    });
}

}  // namespace mova
