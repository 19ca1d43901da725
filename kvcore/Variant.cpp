#include "kvcore/Variant.h"

#include <cstring>

#include "kvcore/Ptr.h"
#include "kvcore/SafeArray.h"

namespace kv {
namespace {

/// Whether a value can be copied as deeply as it goes: an array is what its VARIANT says, and holds no references,
/// which would dangle in the copy, and no more nesting than the budget.
bool IsStorable(const VARIANT& value, int budget) noexcept {
    if (!(value.vt & VT_ARRAY)) return true;
    SAFEARRAY* array = value.vt & VT_BYREF ? *value.pparray : value.parray;
    if (!array) return true;
    const auto elements = ArrayView::Of(array, value.vt & VT_TYPEMASK);
    if (!elements) return IsRecordArray(*array, value.vt & VT_TYPEMASK);
    if (elements->Type() != VT_VARIANT) return true;
    if (budget == 0) return false;
    for (std::size_t i = 0; i < elements->Count(); ++i) {
        const VARIANT element = elements->Element(i);
        if ((element.vt & VT_BYREF) || !IsStorable(element, budget - 1)) return false;
    }
    return true;
}

/// Types that hold their value in the VARIANT itself: a copy of the structure is a copy of the value.
constexpr bool IsPlain(VARTYPE type) noexcept {
    return type <= VT_DATE || type == VT_BOOL || type == VT_ERROR || type == VT_DECIMAL ||
           (type >= VT_I1 && type <= VT_UINT);
}

/// A copy of a text by its length in bytes, which need not be even; null where there is no memory.
BSTR CopyText(BSTR text) noexcept {
    return SysAllocStringByteLen(reinterpret_cast<const char*>(text), SysStringByteLen(text));
}

bool SameDouble(double left, double right) noexcept {
    return left == right || (left != left && right != right);
}

bool SameObject(IUnknown* left, IUnknown* right) noexcept {
    if (left == right || !left || !right) return left == right;
    return Ptr<IUnknown>(left).As<IUnknown>().Get() == Ptr<IUnknown>(right).As<IUnknown>().Get();
}

bool SameElements(const VARIANT& left, const VARIANT& right, int budget) noexcept;

bool SameWithin(const VARIANT& left, const VARIANT& right, int budget) noexcept {
    if (left.vt != right.vt || (left.vt & VT_BYREF)) return false;
    if (left.vt & VT_ARRAY) return SameElements(left, right, budget);
    switch (left.vt) {
        case VT_EMPTY:
        case VT_NULL:
            return true;
        case VT_I1:
        case VT_UI1:
            return left.bVal == right.bVal;
        case VT_I2:
        case VT_UI2:
        case VT_BOOL:
            return left.iVal == right.iVal;
        case VT_I4:
        case VT_UI4:
        case VT_INT:
        case VT_UINT:
        case VT_ERROR:
            return left.lVal == right.lVal;
        case VT_R4:
            return SameDouble(static_cast<double>(left.fltVal), static_cast<double>(right.fltVal));
        case VT_R8:
        case VT_DATE:
            return SameDouble(left.dblVal, right.dblVal);
        case VT_I8:
        case VT_UI8:
        case VT_CY:
            return left.llVal == right.llVal;
        case VT_DECIMAL:
            return VarDecCmp(const_cast<DECIMAL*>(&left.decVal), const_cast<DECIMAL*>(&right.decVal)) == VARCMP_EQ;
        case VT_BSTR:
            return View(left.bstrVal) == View(right.bstrVal);
        case VT_DISPATCH:
        case VT_UNKNOWN:
            return SameObject(left.punkVal, right.punkVal);
        default:
            return false;
    }
}

bool SameElements(const VARIANT& left, const VARIANT& right, int budget) noexcept {
    if (!left.parray || !right.parray) return left.parray == right.parray;
    const auto a = ArrayView::Of(left);
    const auto b = ArrayView::Of(right);
    if (!a || !b || budget == 0 || a->Dimensions() != b->Dimensions()) return false;
    for (USHORT dimension = 0; dimension < a->Dimensions(); ++dimension) {
        const SAFEARRAYBOUND& boundA = a->Bound(dimension);
        const SAFEARRAYBOUND& boundB = b->Bound(dimension);
        if (boundA.cElements != boundB.cElements || boundA.lLbound != boundB.lLbound) return false;
    }
    for (std::size_t i = 0; i < a->Count(); ++i)
        if (!SameWithin(a->Element(i), b->Element(i), budget - 1)) return false;
    return true;
}

}  // namespace

Variant Variant::FromText(BString text) noexcept {
    Variant held;
    held.value_.vt = VT_BSTR;
    held.value_.bstrVal = text.Detach();
    return held;
}

Variant Variant::FromArray(SAFEARRAY* array, VARTYPE elementType) noexcept {
    Variant held;
    held.value_.vt = static_cast<VARTYPE>(VT_ARRAY | elementType);
    held.value_.parray = array;
    return held;
}

HRESULT Variant::Assign(const VARIANT& source) noexcept {
    const VARIANT* held = Referred(source);
    if (!held || ((held->vt & VT_BYREF) && !held->byref)) return E_INVALIDARG;
    if (held->vt == VT_BSTR && value_.vt == VT_BSTR && value_.bstrVal) {
        const UINT bytes = SysStringByteLen(held->bstrVal);
        if (bytes == SysStringByteLen(value_.bstrVal)) {  // the common replacement needs no new memory
            if (bytes != 0) std::memmove(value_.bstrVal, held->bstrVal, bytes);
            return S_OK;
        }
    }
    VARIANT copy{};
    if (IsPlain(held->vt)) {
        copy = *held;
    } else {
        if (!IsStorable(*held, maxNesting)) return E_INVALIDARG;
        if (HRESULT status = VariantCopyInd(&copy, const_cast<VARIANT*>(held)); FAILED(status))
            return status == E_OUTOFMEMORY ? status : E_INVALIDARG;
    }
    *this = Attach(copy);
    return S_OK;
}

HRESULT Variant::CopyTo(VARIANT* target) const noexcept {
    target->vt = VT_EMPTY;
    if (value_.vt == VT_BSTR) {  // the common case, without what the platform's copy does around it
        BSTR copy = CopyText(value_.bstrVal);
        if (!copy) return E_OUTOFMEMORY;
        target->bstrVal = copy;
        target->vt = VT_BSTR;
        return S_OK;
    }
    VARIANT copy = value_;
    if (!IsPlain(value_.vt)) {
        VariantInit(&copy);
        if (HRESULT status = VariantCopy(&copy, const_cast<VARIANT*>(&value_)); FAILED(status)) return status;
    }
    *target = copy;
    return S_OK;
}

bool IsComplete(const DISPPARAMS& parameters) noexcept {
    return (parameters.cArgs == 0 || parameters.rgvarg) && parameters.cNamedArgs <= parameters.cArgs &&
           (parameters.cNamedArgs == 0 || parameters.rgdispidNamedArgs);
}

const VARIANT* Referred(const VARIANT& value) noexcept {
    if (value.vt != (VT_BYREF | VT_VARIANT)) return &value;
    const VARIANT* referred = value.pvarVal;
    return referred && referred->vt != (VT_BYREF | VT_VARIANT) ? referred : nullptr;
}

bool SameValue(const VARIANT& left, const VARIANT& right) noexcept {
    return SameWithin(left, right, maxNesting + 1);
}

}  // namespace kv
