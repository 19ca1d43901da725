#include "classify/NumberArray.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <optional>
#include <type_traits>

#include "kvcore/NumberValue.h"

namespace mova {
namespace {

constexpr VARTYPE valueBits = VT_ARRAY | VT_R8;
constexpr VARTYPE frequencyBits = VT_ARRAY | VT_I4;

template <class Number>
constexpr VARTYPE typeOf = std::is_same_v<Number, double> ? VT_R8 : VT_I4;

/// The nearest double of a number; nothing where the element is none.
std::optional<double> NumberIn(const VARIANT& element) noexcept {
    constexpr double currencyUnit = 10'000;
    double number = 0;
    if (const auto integer = kv::IntegerOf(element)) return static_cast<double>(*integer);
    switch (element.vt) {
        case VT_UI8:
            return static_cast<double>(element.ullVal);
        case VT_R4:
            return static_cast<double>(element.fltVal);
        case VT_R8:
        case VT_DATE:
            return element.dblVal;
        case VT_CY:
            return static_cast<double>(element.cyVal.int64) / currencyUnit;
        case VT_DECIMAL:
            if (FAILED(VarR8FromDec(const_cast<DECIMAL*>(&element.decVal), &number))) return {};
            return number;
        default:
            return {};
    }
}

template <class Number>
bool Convert(double number, Number& converted) noexcept {
    if constexpr (std::is_integral_v<Number>) {
        if (!(number >= std::numeric_limits<Number>::min() && number <= std::numeric_limits<Number>::max()) ||
            number != std::trunc(number))
            return false;
    }
    converted = static_cast<Number>(number);
    return true;
}

bool HasBits(const VARIANT& value, VARTYPE bits) noexcept {
    const VARIANT* const held = kv::Referred(value);
    return held && (held->vt & bits) != 0;
}

}  // namespace

template <class Number>
Verdict NumberArray<Number>::Find(const VARIANT& value) noexcept {
    const auto array = kv::ArrayView::Of(value);
    if (!array || array->Dimensions() != 1) return {E_INVALIDARG, u"An array of numbers in one dimension is expected."};
    found_ = array;
    return {};
}

template <class Number>
Verdict NumberArray<Number>::Read() {
    if (FAILED(SafeArrayLock(found_->Array()))) return {E_FAIL, u"The array cannot be locked."};
    locked_ = found_->Array();
    if (found_->Type() == typeOf<Number>) {
        numbers_ = {static_cast<const Number*>(found_->Data()), found_->Count()};
        return {};
    }
    converted_.resize(found_->Count());
    for (std::size_t i = 0; i < converted_.size(); ++i) {
        const auto number = NumberIn(found_->Element(i));
        if (!number || !Convert(*number, converted_[i]))
            return {E_INVALIDARG, std::is_same_v<Number, double> ? u"An element of the array is no number."
                                                                 : u"A frequency is no whole number of 32 bits."};
    }
    numbers_ = converted_;
    return {};
}

template <class Number>
Verdict NumberArray<Number>::Open(const VARIANT& value) {
    if (const Verdict verdict = Find(value)) return verdict;
    return Read();
}

template class NumberArray<double>;
template class NumberArray<std::int32_t>;

Verdict TestHistogram(const VARIANT& values, const VARIANT& frequencies) noexcept {
    if (!HasBits(values, valueBits)) return {E_INVALIDARG, u"The values must be an array of numbers."};
    if (!HasBits(frequencies, frequencyBits))
        return {E_INVALIDARG, u"The frequencies must be an array of whole numbers."};
    return {};
}

template <class Number>
VARIANT ArrayOf(std::span<const Number> numbers) {
    kv::ArrayBuilder array(typeOf<Number>, numbers.size());
    std::copy(numbers.begin(), numbers.end(), array.Elements<Number>());
    return array.Finish().Detach();
}

template VARIANT ArrayOf(std::span<const double> numbers);
template VARIANT ArrayOf(std::span<const std::int32_t> numbers);

}  // namespace mova
