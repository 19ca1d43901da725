#include "kvcore/SafeArray.h"

#include <cstring>
#include <limits>
#include <span>
#include <utility>

#include "kvcore/ValueFormat.h"

namespace kv {
namespace {

/// The size of an array element of a type; 0 for types that arrays do not hold, records among them.
std::size_t ElementSize(VARTYPE type) noexcept {
    return ShapeOf(static_cast<ValueType>(type)).memorySize;
}

/// The features that an array with elements of a type has, of those that say what an element owns.
USHORT FeaturesOf(VARTYPE type) noexcept {
    switch (type) {
        case VT_BSTR:
            return FADF_BSTR;
        case VT_UNKNOWN:
            return FADF_UNKNOWN;
        case VT_DISPATCH:
            return FADF_DISPATCH;
        case VT_VARIANT:
            return FADF_VARIANT;
        case VT_RECORD:
            return FADF_RECORD;
        default:
            return 0;
    }
}

bool HasFeaturesOf(const SAFEARRAY& array, VARTYPE type) noexcept {
    constexpr USHORT owning = FADF_BSTR | FADF_UNKNOWN | FADF_DISPATCH | FADF_VARIANT | FADF_RECORD;
    return (array.fFeatures & owning) == FeaturesOf(type);
}

/// The array that a VARIANT holds, directly or by reference; null where it holds none.
SAFEARRAY* ArrayIn(const VARIANT& value) noexcept {
    const VARIANT* held = Referred(value);
    if (!held || !(held->vt & VT_ARRAY) || !held->byref) return nullptr;
    return held->vt & VT_BYREF ? *held->pparray : held->parray;
}

/// The elements of an array of VARIANTs that may be taken from it; none where there are none, or not for us to take.
std::span<VARIANT> ElementsOf(SAFEARRAY* array) noexcept {
    const auto elements = ArrayView::Of(array, VT_VARIANT);
    if (!elements || array->cLocks != 0) return {};
    return {static_cast<VARIANT*>(array->pvData), elements->Count()};
}
std::span<VARIANT> ElementsIn(const VARIANT& value) noexcept {
    return value.vt == (VT_ARRAY | VT_VARIANT) ? ElementsOf(value.parray) : std::span<VARIANT>();
}

}  // namespace

std::optional<ArrayView> ArrayView::Of(SAFEARRAY* array, VARTYPE type) noexcept {
    if (!array || array->cDims == 0 || ElementSize(type) == 0 || array->cbElements != ElementSize(type) ||
        !HasFeaturesOf(*array, type))
        return {};
    static_assert(sizeof(ArrayBound) == sizeof(SAFEARRAYBOUND));
    const auto count = ElementCount({reinterpret_cast<const ArrayBound*>(array->rgsabound), array->cDims});
    if (!count || (*count != 0 && !array->pvData)) return {};
    return ArrayView(array, type, *count);
}

std::optional<ArrayView> ArrayView::Of(const VARIANT& value) noexcept {
    const VARIANT* held = Referred(value);
    return held ? Of(ArrayIn(value), held->vt & VT_TYPEMASK) : std::nullopt;
}

bool IsArray(const VARIANT& value) noexcept {
    return ArrayIn(value) != nullptr;
}

bool IsRecordArray(const SAFEARRAY& array, VARTYPE type) noexcept {
    return type == VT_RECORD && HasFeaturesOf(array, type);
}

VARIANT ArrayView::Element(std::size_t index) const noexcept {
    const auto* data = static_cast<const std::byte*>(array_->pvData) + index * array_->cbElements;
    VARIANT element{};
    if (type_ == VT_VARIANT || type_ == VT_DECIMAL) {
        std::memcpy(&element, data, array_->cbElements);
    } else {
        std::memcpy(&element.llVal, data, array_->cbElements);
    }
    if (type_ != VT_VARIANT) element.vt = type_;
    return element;
}

void DestroyArray(SAFEARRAY* array) noexcept {
    // Arrays that wait for their end are a list: the first element of each leads to the next. What that element held
    // goes where the array was, and is looked at there.
    SAFEARRAY* waiting = nullptr;
    while (array) {
        for (VARIANT& element : ElementsOf(array)) {
            for (auto inner = ElementsIn(element); !inner.empty(); inner = ElementsIn(element)) {
                SAFEARRAY* const next = std::exchange(waiting, element.parray);
                element = inner.front();
                inner.front() = {};
                inner.front().byref = next;
            }
        }
        SafeArrayDestroy(array);
        array = waiting;
        if (array) waiting = static_cast<SAFEARRAY*>(ElementsOf(array).front().byref);
    }
}

ArrayBuilder::ArrayBuilder(VARTYPE type, std::size_t count)
    : array_(count <= std::numeric_limits<LONG>::max() ? SafeArrayCreateVector(type, 0, static_cast<ULONG>(count))
                                                       : nullptr),
      type_(type) {
    if (!array_) throw std::bad_alloc();
}

}  // namespace kv
