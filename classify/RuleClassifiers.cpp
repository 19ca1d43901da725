#include "classify/RuleClassifiers.h"

#include <cmath>

namespace mova {
namespace {

/// What these methods ask before they begin. @return whether the run is over
bool IsOver(ClassifierInput& input, LONG& classCount, Verdict& verdict) {
    if (classCount < 1) {
        verdict = tooFewClasses;
        return true;
    }
    if (input.ValueCount() != 0 && input.HasArrays()) {
        verdict = input.Read();
        return static_cast<bool>(verdict);
    }
    classCount = 0;
    return true;
}

/// Runs a method with the wider count that it takes.
template <class Method>
Verdict Run(ClassifierInput& input, LONG& classCount, Method method) {
    Verdict verdict;
    if (IsOver(input, classCount, verdict)) return verdict;
    std::int64_t count = classCount;
    verdict = StatusOf(method(count));
    classCount = static_cast<LONG>(count);
    return verdict;
}

}  // namespace

Verdict Quantile::ComputeBreaks(ClassifierInput& input, LONG& classCount) {
    return Run(input, classCount, [&](std::int64_t& count) { return QuantileBreaks(input.Data(), count, Breaks()); });
}

Verdict GeometricalInterval::ComputeBreaks(ClassifierInput& input, LONG& classCount) {
    return Run(input, classCount,
               [&](std::int64_t& count) { return GeometricalBreaks(input.Data(), count, Breaks()); });
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

Verdict DefinedInterval::ComputeBreaks(ClassifierInput& input, LONG& classCount) {
    return Run(input, classCount, [&](std::int64_t& count) {
        const Range range{input.Data().values.front(), input.Data().values.back()};
        return DefinedIntervalBreaks(range, width_, count, Breaks());
    });
}

}  // namespace mova
