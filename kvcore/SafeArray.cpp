#include "kvcore/SafeArray.h"

#include <cstring>

namespace kv {
namespace {

/// The size of an array element of a type; 0 for types that arrays do not hold, records among them.
std::size_t ElementSize(VARTYPE type) noexcept {
    switch (type) {
        case VT_I1:
        case VT_UI1:
            return 1;
        case VT_I2:
        case VT_UI2:
        case VT_BOOL:
            return 2;
        case VT_I4:
        case VT_UI4:
        case VT_INT:
        case VT_UINT:
        case VT_R4:
        case VT_ERROR:
            return 4;
        case VT_I8:
        case VT_UI8:
        case VT_R8:
        case VT_CY:
        case VT_DATE:
        case VT_BSTR:
        case VT_DISPATCH:
        case VT_UNKNOWN:
            return 8;
        case VT_DECIMAL:
            return sizeof(DECIMAL);
        case VT_VARIANT:
            return sizeof(VARIANT);
        default:
            return 0;
    }
}

}  // namespace

std::optional<ArrayView> ArrayView::Of(SAFEARRAY* array, VARTYPE type) noexcept {
    if (!array || array->cDims == 0 || ElementSize(type) == 0 || array->cbElements != ElementSize(type)) return {};
    std::size_t count = 1;
    for (USHORT dimension = 0; dimension < array->cDims; ++dimension) count *= array->rgsabound[dimension].cElements;
    if (count != 0 && !array->pvData) return {};
    return ArrayView(array, type, count);
}

std::optional<ArrayView> ArrayView::Of(const VARIANT& value) noexcept {
    const VARIANT* held = Referred(value);
    if (!held || !(held->vt & VT_ARRAY)) return {};
    if ((held->vt & VT_BYREF) && !held->pparray) return {};
    return Of(held->vt & VT_BYREF ? *held->pparray : held->parray, held->vt & VT_TYPEMASK);
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

ArrayBuilder::ArrayBuilder(VARTYPE type, std::size_t count)
    : array_(SafeArrayCreateVector(type, 0, static_cast<ULONG>(count))), type_(type) {
    if (!array_) throw std::bad_alloc();
}

}  // namespace kv
