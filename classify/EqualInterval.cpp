#include "classify/EqualInterval.h"

namespace mova {

STDMETHODIMP EqualInterval::put_Minimum(double limit) noexcept {
    limits_.minimum = limit;
    hasMinimum_ = true;
    return S_OK;
}

STDMETHODIMP EqualInterval::put_Maximum(double limit) noexcept {
    limits_.maximum = limit;
    hasMaximum_ = true;
    return S_OK;
}

STDMETHODIMP EqualInterval::get_Minimum(double* limit) noexcept {
    if (!limit) return Refuse(E_POINTER);
    *limit = limits_.minimum;
    return hasMinimum_ ? S_OK : S_FALSE;
}

STDMETHODIMP EqualInterval::get_Maximum(double* limit) noexcept {
    if (!limit) return Refuse(E_POINTER);
    *limit = limits_.maximum;
    return hasMaximum_ ? S_OK : S_FALSE;
}

STDMETHODIMP EqualInterval::get_HasLimits(VARIANT_BOOL* both) noexcept {
    if (!both) return Refuse(E_POINTER);
    *both = hasMinimum_ && hasMaximum_ ? VARIANT_TRUE : VARIANT_FALSE;
    return S_OK;
}

STDMETHODIMP EqualInterval::ClearLimits() noexcept {
    limits_ = {};
    hasMinimum_ = hasMaximum_ = false;
    return S_OK;
}

Verdict EqualInterval::ComputeBreaks(ClassifierInput& input, LONG& classCount) {
    if (classCount < 1) return tooFewClasses;
    Range range = limits_;
    if (!hasMinimum_ || !hasMaximum_) {
        if (input.ValueCount() == 0) {
            classCount = 0;
            return {};
        }
        if (const Verdict verdict = input.Read()) return verdict;
        range = {input.Data().values.front(), input.Data().values.back()};
    }
    return StatusOf(EqualIntervalBreaks(range, classCount, Breaks()));
}

}  // namespace mova
