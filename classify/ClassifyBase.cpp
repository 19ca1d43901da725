#include "classify/ClassifyBase.h"

#include <array>
#include <limits>

#include "kvcore/BString.h"
#include "kvcore/CreateInstance.h"
#include "kvcore/Ptr.h"
#include "server/Module.h"

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

Verdict ClassifierState::Open(const VARIANT& values, const VARIANT& frequencies, NumberArray<double>& openValues,
                              NumberArray<std::int32_t>& openFrequencies) {
    if (const Verdict verdict = TestHistogram(values, frequencies)) return verdict;
    if (const Verdict verdict = openValues.Open(values)) return verdict;
    if (const Verdict verdict = openFrequencies.Open(frequencies)) return verdict;
    if (openValues.Numbers().size() != openFrequencies.Numbers().size())
        return {E_INVALIDARG, u"There must be as many frequencies as values."};
    if (openValues.Numbers().size() > std::numeric_limits<std::int32_t>::max())
        return {E_INVALIDARG, u"There are more than 2,147,483,647 values."};
    return {};
}

Verdict ClassifierState::Keep(const VARIANT& values, const VARIANT& frequencies) {
    NumberArray<double> openValues;
    NumberArray<std::int32_t> openFrequencies;
    if (const Verdict verdict = Open(values, frequencies, openValues, openFrequencies)) return verdict;
    const auto numbers = openValues.Numbers();
    const auto counts = openFrequencies.Numbers();
    std::vector<double> keptValues(numbers.begin(), numbers.end());
    frequencies_.reserve(counts.size());  // nothing fails from here on
    frequencies_.assign(counts.begin(), counts.end());
    values_.swap(keptValues);
    valueCount_ = static_cast<std::uint32_t>(numbers.size());
    isKept_ = true;
    return {};
}

ClassifierInput ClassifierState::Kept() const noexcept {
    return {{values_, frequencies_}, valueCount_, isKept_};
}

Verdict ClassifierState::Borrow(const VARIANT& values, const VARIANT& frequencies, NumberArray<double>& borrowedValues,
                                NumberArray<std::int32_t>& borrowedFrequencies, ClassifierInput& input) {
    if (const Verdict verdict = Open(values, frequencies, borrowedValues, borrowedFrequencies)) return verdict;
    const auto count = static_cast<std::uint32_t>(borrowedValues.Numbers().size());
    if (!isKept_) valueCount_ = count;
    input = {{borrowedValues.Numbers(), borrowedFrequencies.Numbers()}, count, true};
    return {};
}

kv::BString MethodNameOf(UINT textId) {
    std::array<wchar_t, 64> text;  // longer than any method's name
    const int length = LoadStringW(ThisModule(), textId, text.data(), static_cast<int>(text.size()));
    return kv::BString({kv::Narrow16(text.data()), static_cast<std::size_t>(length)});
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
