// What all classifiers share: the histogram, the breaks of the last run, and the interfaces over them.
#pragma once

#include <movaSystem.h>

#include <string>
#include <vector>

#include "classify/Histogram.h"
#include "classify/IntervalBreaks.h"
#include "classify/NumberArray.h"
#include "server/Component.h"

namespace mova {

/// What a classifier is to divide.
struct ClassifierInput {
    HistogramView data;
    /// How many values the last histogram had, whoever handed it in: it is known where the arrays are missing.
    std::uint32_t valueCount = 0;
    bool hasArrays = false;
};

inline constexpr Verdict tooFewClasses{E_INVALIDARG, u"At least one class must be asked for."};
inline constexpr Verdict noHistogram{E_FAIL, u"There is no histogram."};

/// What a method that lays breaks by a rule says, as a status with a text.
Verdict StatusOf(BreakOutcome outcome) noexcept;

/// What a classifier keeps, whichever it is.
class ClassifierState {
 public:
    Verdict Keep(const VARIANT& values, const VARIANT& frequencies);
    /// What is kept, to be divided.
    ClassifierInput Kept() const noexcept;
    /// A caller's histogram, to be divided. @param input filled in where that does not fail
    Verdict Borrow(const VARIANT& values, const VARIANT& frequencies, NumberArray<double>& borrowedValues,
                   NumberArray<std::int32_t>& borrowedFrequencies, ClassifierInput& input);

    std::vector<double> breaks;

 private:
    static Verdict Open(const VARIANT& values, const VARIANT& frequencies, NumberArray<double>& openValues,
                        NumberArray<std::int32_t>& openFrequencies);

    std::uint32_t valueCount_ = 0;
    bool isKept_ = false;
    std::vector<double> values_;
    std::vector<std::int32_t> frequencies_;
};

/// @return the text of the library's string table. @throw std::bad_alloc
kv::BString MethodNameOf(UINT textId);
/// A new identifier object for a class.
HRESULT MakeClassIdentifier(const CLSID& classId, IUID** identifier) noexcept;

/// A classifier. @tparam Self has `static constexpr UINT methodName`, a row of the string table, and
///     `Verdict ComputeBreaks(const ClassifierInput& input, LONG& classCount)`, which leaves the state's breaks as they
///     were where it refuses.
template <class Self, class Coclass, class... Others>
class ClassifyBase : public Component<Self, Coclass, IClassify, IClassifyGEN, Others...> {
    using Base = Component<Self, Coclass, IClassify, IClassifyGEN, Others...>;

 public:
    using Base::Base;

    // IClassify
    STDMETHODIMP SetHistogramData(VARIANT values, VARIANT frequencies) noexcept final try {
        return Answer<IClassify>(state_.Keep(values, frequencies));
    } catch (...) {
        return CaughtStatus();
    }
    STDMETHODIMP Classify(LONG* numClasses) noexcept final try {
        if (!numClasses) return Base::Refuse(E_POINTER);
        return Answer<IClassify>(Compute(state_.Kept(), *numClasses));
    } catch (...) {
        return CaughtStatus();
    }
    STDMETHODIMP get_ClassBreaks(VARIANT* breaks) noexcept final try {
        if (!breaks) return Base::Refuse(E_POINTER);
        VariantInit(breaks);
        *breaks = ArrayOf<double>(state_.breaks);
        return S_OK;
    } catch (...) {
        return CaughtStatus();
    }
    STDMETHODIMP get_MethodName(BSTR* name) noexcept final try {
        if (!name) return Base::Refuse(E_POINTER);
        *name = nullptr;
        *name = MethodNameOf(Self::methodName).Detach();
        return S_OK;
    } catch (...) {
        return CaughtStatus();
    }
    STDMETHODIMP get_ClassID(IUID** identifier) noexcept final {
        if (!identifier) return Base::Refuse(E_POINTER);
        *identifier = nullptr;
        return MakeClassIdentifier(Base::classId, identifier);
    }
    // IClassifyGEN
    STDMETHODIMP Classify(VARIANT values, VARIANT frequencies, LONG* numClasses) noexcept final try {
        if (!numClasses) return Base::Refuse(E_POINTER);
        NumberArray<double> borrowedValues;
        NumberArray<std::int32_t> borrowedFrequencies;
        ClassifierInput input;
        if (const Verdict verdict = state_.Borrow(values, frequencies, borrowedValues, borrowedFrequencies, input))
            return Answer<IClassifyGEN>(verdict);
        return Answer<IClassifyGEN>(Compute(input, *numClasses));
    } catch (...) {
        return CaughtStatus();
    }

 protected:
    std::vector<double>& Breaks() noexcept { return state_.breaks; }

 private:
    Verdict Compute(const ClassifierInput& input, LONG& classCount) {
        return static_cast<Self*>(this)->ComputeBreaks(input, classCount);
    }
    template <class Interface>
    HRESULT Answer(const Verdict& verdict) const noexcept {
        return verdict ? this->template Refuse<Interface>(verdict.status, verdict.text) : verdict.status;
    }

    ClassifierState state_;
};

}  // namespace mova
