// What all classifiers share: the histogram, the breaks of the last run, and the interfaces over them.
#pragma once

#include <movaSystem.h>

#include <vector>

#include "classify/Histogram.h"
#include "classify/IntervalBreaks.h"
#include "classify/NumberArray.h"
#include "server/Component.h"
#include "server/NamedMessage.h"

namespace mova {

/// What a classifier is to divide: what is kept, or what a caller hands in. The caller's arrays are locked and read
/// only when a method comes to them.
class ClassifierInput {
 public:
    ClassifierInput() noexcept = default;
    /// What is kept. @param kept must outlive this
    explicit ClassifierInput(const HistogramView& kept) noexcept
        : valueCount_(static_cast<std::uint32_t>(kept.values.size())), hasArrays_(true), data_(kept) {}
    /// Nothing is kept. @param valueCount what is left of an earlier histogram
    explicit ClassifierInput(std::uint32_t valueCount) noexcept : valueCount_(valueCount) {}

    /// Finds the caller's arrays.
    /// @return E_INVALIDARG where one is no array of one dimension, or they are not of one length
    Verdict Find(const VARIANT& values, const VARIANT& frequencies) noexcept;
    /// How many values there are; it is known where the arrays are missing.
    std::uint32_t ValueCount() const noexcept { return valueCount_; }
    bool HasArrays() const noexcept { return hasArrays_; }
    /// Makes the data readable. @return E_INVALIDARG for arrays with elements that are no numbers, E_FAIL for an array
    ///     that is missing or cannot be locked. @throw std::bad_alloc
    Verdict Read();
    const HistogramView& Data() const noexcept { return data_; }

 private:
    std::uint32_t valueCount_ = 0;
    bool hasArrays_ = false;
    bool isFound_ = false;
    NumberArray<double> values_;
    NumberArray<std::int32_t> frequencies_;
    HistogramView data_;
};

inline constexpr Verdict tooFewClasses{E_INVALIDARG, u"At least one class must be asked for."};

/// What a method that lays breaks by a rule says, as a status with a text.
Verdict StatusOf(BreakOutcome outcome) noexcept;

/// What a classifier keeps, whichever it is.
class ClassifierState {
 public:
    Verdict Keep(const VARIANT& values, const VARIANT& frequencies);
    /// What is kept, to be divided: as many values as the last histogram had, at most all.
    ClassifierInput Kept() const noexcept;
    /// A caller's histogram, to be divided.
    Verdict Borrow(const VARIANT& values, const VARIANT& frequencies, ClassifierInput& input) noexcept;

    std::vector<double> breaks;

 private:
    std::uint32_t valueCount_ = 0;  ///< of the last histogram, whoever handed it in
    bool isKept_ = false;
    std::vector<double> values_;
    std::vector<std::int32_t> frequencies_;
};

/// A new identifier object for a class.
HRESULT MakeClassIdentifier(const CLSID& classId, IUID** identifier) noexcept;

/// A classifier. @tparam Self has `static constexpr UINT methodName`, a row of the string table, and
///     `Verdict ComputeBreaks(ClassifierInput& input, LONG& classCount)`, which leaves the state's breaks as they were
///     where it refuses.
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
        ClassifierInput input = state_.Kept();
        return Answer<IClassify>(Compute(input, *numClasses));
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
        *name = kv::BString(TableMessage(Self::methodName)).Detach();
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
        ClassifierInput input;
        if (const Verdict verdict = state_.Borrow(values, frequencies, input)) return Answer<IClassifyGEN>(verdict);
        return Answer<IClassifyGEN>(Compute(input, *numClasses));
    } catch (...) {
        return CaughtStatus();
    }

 protected:
    std::vector<double>& Breaks() noexcept { return state_.breaks; }

 private:
    Verdict Compute(ClassifierInput& input, LONG& classCount) {
        return static_cast<Self*>(this)->ComputeBreaks(input, classCount);
    }
    template <class Interface>
    HRESULT Answer(const Verdict& verdict) const noexcept {
        return verdict ? this->template Refuse<Interface>(verdict.status, verdict.text) : verdict.status;
    }

    ClassifierState state_;
};

}  // namespace mova
