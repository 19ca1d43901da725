#include "classify/ClassifyBase.h"

#include <algorithm>
#include <limits>

#include "kvcore/BString.h"
#include "kvcore/CreateInstance.h"
#include "kvcore/Ptr.h"

namespace mova {

Verdict StatusOf(BreakOutcome outcome) noexcept {
    switch (outcome) {
        case BreakOutcome::done:
            return {};
        case BreakOutcome::noClass:
            return {.status = S_FALSE};
        case BreakOutcome::endless:
            return {E_INVALIDARG, u"Breaks so close to each other, or between such limits, would not come to an end."};
        case BreakOutcome::tooMany:
            return {E_INVALIDARG, u"There would be more than 16,777,216 breaks."};
        case BreakOutcome::badFrequencies:
            return {E_INVALIDARG, u"The frequencies leave a class without a value."};
    }
    return {.status = E_FAIL};
}

Verdict ClassifierInput::Find(const VARIANT& values, const VARIANT& frequencies) noexcept {
    if (const Verdict verdict = TestHistogram(values, frequencies)) return verdict;
    if (const Verdict verdict = values_.Find(values)) return verdict;
    if (const Verdict verdict = frequencies_.Find(frequencies)) return verdict;
    if (values_.Count() != frequencies_.Count()) return {E_INVALIDARG, u"There must be as many frequencies as values."};
    if (values_.Count() > std::numeric_limits<std::int32_t>::max())
        return {E_INVALIDARG, u"There are more than 2,147,483,647 values."};
    valueCount_ = static_cast<std::uint32_t>(values_.Count());
    hasArrays_ = isFound_ = true;
    return {};
}

Verdict ClassifierInput::Read() {
    if (!hasArrays_) return {E_FAIL, u"There is no histogram."};
    if (!isFound_) return {};
    if (const Verdict verdict = values_.Read()) return verdict;
    if (const Verdict verdict = frequencies_.Read()) return verdict;
    data_ = {values_.Numbers(), frequencies_.Numbers()};
    return {};
}

Verdict ClassifierState::Keep(const VARIANT& values, const VARIANT& frequencies) {
    ClassifierInput input;
    if (const Verdict verdict = input.Find(values, frequencies)) return verdict;
    if (const Verdict verdict = input.Read()) return verdict;
    const HistogramView& data = input.Data();
    std::vector<double> keptValues(data.values.begin(), data.values.end());
    frequencies_.reserve(data.frequencies.size());  // nothing fails from here on
    frequencies_.assign(data.frequencies.begin(), data.frequencies.end());
    values_.swap(keptValues);
    valueCount_ = input.ValueCount();
    isKept_ = true;
    return {};
}

ClassifierInput ClassifierState::Kept() const noexcept {
    if (!isKept_) return ClassifierInput(valueCount_);
    const auto count = std::min<std::size_t>(valueCount_, values_.size());
    return ClassifierInput(HistogramView{std::span(values_).first(count), std::span(frequencies_).first(count)});
}

Verdict ClassifierState::Borrow(const VARIANT& values, const VARIANT& frequencies, ClassifierInput& input) noexcept {
    if (const Verdict verdict = input.Find(values, frequencies)) return verdict;
    valueCount_ = input.ValueCount();
    return {};
}

HRESULT MakeClassIdentifier(const CLSID& classId, IUID** identifier) noexcept {
    kv::Ptr<IUID> made;
    if (HRESULT status = kv::KvCreateInstance(CLSID_UID, made); FAILED(status)) return Refuse(status);
    const auto exchange = made.As<IIdentifierExchange>();
    if (HRESULT status = exchange->SetIdentifier(&classId, 0); FAILED(status)) return status;
    *identifier = made.Detach();
    return S_OK;
}

}  // namespace mova
