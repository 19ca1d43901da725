#include "kvcore/Variant.h"

#include <cstring>
#include <new>
#include <vector>

#include "kvcore/Ptr.h"
#include "kvcore/SafeArray.h"

namespace kv {
namespace {

/// Types that hold their value in the VARIANT itself: a copy of the structure is a copy of the value.
constexpr bool IsPlain(VARTYPE type) noexcept {
    return type <= VT_DATE || type == VT_BOOL || type == VT_ERROR || type == VT_DECIMAL ||
           (type >= VT_I1 && type <= VT_UINT);
}

/// A copy of a text by its length in bytes, which need not be even; null where there is no memory.
BSTR CopyText(BSTR text) noexcept {
    return SysAllocStringByteLen(reinterpret_cast<const char*>(text), SysStringByteLen(text));
}

/// Copies a value that is no array of VARIANTs, through a reference. @param copy is empty before.
/// @return E_INVALIDARG for what is no storable value; E_OUTOFMEMORY
HRESULT CopyFlat(const VARIANT& source, VARIANT& copy) noexcept {
    if (IsPlain(source.vt)) {
        copy = source;
        return S_OK;
    }
    if (source.vt & VT_ARRAY) {  // which must be what its VARIANT says
        SAFEARRAY* array = source.vt & VT_BYREF ? *source.pparray : source.parray;
        const VARTYPE type = source.vt & VT_TYPEMASK;
        if (array && !ArrayView::Of(array, type) && !IsRecordArray(*array, type)) return E_INVALIDARG;
    }
    const HRESULT status = VariantCopyInd(&copy, const_cast<VARIANT*>(&source));
    return SUCCEEDED(status) || status == E_OUTOFMEMORY ? status : E_INVALIDARG;
}

/// A new array of VARIANTs, all empty, with the bounds of another one; null where there is no memory.
SAFEARRAY* MakeLike(const SAFEARRAY& array) noexcept {
    SAFEARRAY* made = nullptr;
    if (FAILED(SafeArrayAllocDescriptorEx(VT_VARIANT, array.cDims, &made))) return nullptr;
    made->fFeatures |= FADF_VARIANT;  // not every platform says at once what the elements own
    std::memcpy(made->rgsabound, array.rgsabound, array.cDims * sizeof(SAFEARRAYBOUND));
    if (SUCCEEDED(SafeArrayAllocData(made))) return made;
    SafeArrayDestroyDescriptor(made);
    return nullptr;
}

/// Copies a value as deeply as it goes. Arrays in arrays are copied one after the other: their nesting takes no stack.
/// @param copy is empty before; where that fails it may hold part of the value.
/// @return E_INVALIDARG for what is no storable value, as Variant::Assign says; E_OUTOFMEMORY. @throw std::bad_alloc
HRESULT CopyValue(const VARIANT& source, VARIANT& copy) {
    constexpr VARTYPE nesting = VT_ARRAY | VT_VARIANT;
    SAFEARRAY* const outermost = (source.vt & ~VT_BYREF) != nesting ? nullptr
                                 : source.vt & VT_BYREF             ? *source.pparray
                                                                    : source.parray;
    if (!outermost) return CopyFlat(source, copy);
    struct Work {
        SAFEARRAY* from;
        VARIANT* to;
        int budget;
    };
    std::vector<Work> waiting{{outermost, &copy, maxNesting}};
    while (!waiting.empty()) {
        const Work work = waiting.back();
        waiting.pop_back();
        const auto elements = ArrayView::Of(work.from, VT_VARIANT);
        if (!elements || work.budget == 0) return E_INVALIDARG;
        SAFEARRAY* const made = MakeLike(*work.from);
        if (!made) return E_OUTOFMEMORY;
        work.to->parray = made;
        work.to->vt = nesting;
        auto* const copies = static_cast<VARIANT*>(made->pvData);
        for (std::size_t i = 0; i < elements->Count(); ++i) {
            const VARIANT element = elements->Element(i);
            if (element.vt & VT_BYREF) return E_INVALIDARG;  // it would dangle in the copy
            if (element.vt == nesting && element.parray) {
                waiting.push_back({element.parray, copies + i, work.budget - 1});
            } else if (HRESULT status = CopyFlat(element, copies[i]); FAILED(status)) {
                return status;
            }
        }
    }
    return S_OK;
}

bool SameDouble(double left, double right) noexcept {
    return left == right || (left != left && right != right);
}

bool SameObject(IUnknown* left, IUnknown* right) noexcept {
    if (left == right || !left || !right) return left == right;
    return Ptr<IUnknown>(left).As<IUnknown>().Get() == Ptr<IUnknown>(right).As<IUnknown>().Get();
}

/// Whether two values of one type, which is no array's, hold the same.
bool SameContent(const VARIANT& left, const VARIANT& right) noexcept {
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

bool SameBounds(const ArrayView& left, const ArrayView& right) noexcept {
    if (left.Dimensions() != right.Dimensions()) return false;
    for (USHORT dimension = 0; dimension < left.Dimensions(); ++dimension) {
        const SAFEARRAYBOUND& a = left.Bound(dimension);
        const SAFEARRAYBOUND& b = right.Bound(dimension);
        if (a.cElements != b.cElements || a.lLbound != b.lLbound) return false;
    }
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

HRESULT Variant::Assign(const VARIANT& source) noexcept try {
    const VARIANT* held = Referred(source);
    if (!held || ((held->vt & VT_BYREF) && !held->byref)) return E_INVALIDARG;
    if (held->vt == VT_BSTR && value_.vt == VT_BSTR && value_.bstrVal) {
        const UINT bytes = SysStringByteLen(held->bstrVal);
        if (bytes == SysStringByteLen(value_.bstrVal)) {  // the common replacement needs no new memory
            if (bytes != 0) std::memmove(value_.bstrVal, held->bstrVal, bytes);
            return S_OK;
        }
    }
    Variant copy;
    if (HRESULT status = CopyValue(*held, copy.value_); FAILED(status)) return status;
    *this = std::move(copy);
    return S_OK;
} catch (const std::bad_alloc&) {
    return E_OUTOFMEMORY;
}

HRESULT Variant::CopyTo(VARIANT* target) const noexcept try {
    target->vt = VT_EMPTY;
    if (value_.vt == VT_BSTR) {  // the common case, without what the platform's copy does around it
        BSTR copy = CopyText(value_.bstrVal);
        if (!copy) return E_OUTOFMEMORY;
        target->bstrVal = copy;
        target->vt = VT_BSTR;
        return S_OK;
    }
    Variant copy;
    if (HRESULT status = CopyValue(value_, copy.value_); FAILED(status)) return status;
    *target = copy.Detach();
    return S_OK;
} catch (const std::bad_alloc&) {
    return E_OUTOFMEMORY;
}

void Variant::Free() noexcept {
    if ((value_.vt & (VT_ARRAY | VT_BYREF)) == VT_ARRAY) {
        DestroyArray(value_.parray);
    } else {
        VariantClear(&value_);
    }
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

std::optional<std::u16string_view> TextIn(const VARIANT& value) noexcept {
    if (value.vt == VT_BSTR) return View(value.bstrVal);
    if (value.vt == (VT_BYREF | VT_BSTR) && value.pbstrVal) return View(*value.pbstrVal);
    return {};
}

bool SameValue(const VARIANT& left, const VARIANT& right) {
    std::vector<std::pair<VARIANT, VARIANT>> arrays;  // wait here: their nesting takes no stack
    const auto maySame = [&](const VARIANT& a, const VARIANT& b) {
        if (a.vt != b.vt || (a.vt & VT_BYREF)) return false;
        if (!(a.vt & VT_ARRAY)) return SameContent(a, b);
        arrays.emplace_back(a, b);
        return true;
    };
    if (!maySame(left, right)) return false;
    while (!arrays.empty()) {
        const auto [a, b] = arrays.back();
        arrays.pop_back();
        if (!a.parray && !b.parray) continue;
        const auto mine = ArrayView::Of(a);
        const auto theirs = ArrayView::Of(b);
        if (!mine || !theirs || !SameBounds(*mine, *theirs)) return false;
        for (std::size_t i = 0; i < mine->Count(); ++i)
            if (!maySame(mine->Element(i), theirs->Element(i))) return false;
    }
    return true;
}

}  // namespace kv
