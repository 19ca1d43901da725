#include "xml/XMLFlags.h"

#include "kvcore/Ptr.h"

namespace mova {

HRESULT XMLFlags::Put(bool SerializeFlags::*which, VARIANT_BOOL flag) noexcept {
    flags_.*which = flag != VARIANT_FALSE;
    return S_OK;
}

HRESULT XMLFlags::Get(bool SerializeFlags::*which, VARIANT_BOOL* flag) const noexcept {
    if (!flag) return Refuse(E_POINTER);
    *flag = flags_.*which ? VARIANT_TRUE : VARIANT_FALSE;
    return S_OK;
}

STDMETHODIMP XMLFlags::put_ForSOAP(VARIANT_BOOL flag) noexcept {
    return Put(&SerializeFlags::forSoap, flag);
}

STDMETHODIMP XMLFlags::get_ForSOAP(VARIANT_BOOL* flag) noexcept {
    return Get(&SerializeFlags::forSoap, flag);
}

STDMETHODIMP XMLFlags::put_SharedObjects(VARIANT_BOOL flag) noexcept {
    return Put(&SerializeFlags::sharedObjects, flag);
}

STDMETHODIMP XMLFlags::get_SharedObjects(VARIANT_BOOL* flag) noexcept {
    return Get(&SerializeFlags::sharedObjects, flag);
}

STDMETHODIMP XMLFlags::put_UnknownAsNull(VARIANT_BOOL flag) noexcept {
    return Put(&SerializeFlags::unknownAsNull, flag);
}

STDMETHODIMP XMLFlags::get_UnknownAsNull(VARIANT_BOOL* flag) noexcept {
    return Get(&SerializeFlags::unknownAsNull, flag);
}

STDMETHODIMP XMLFlags::put_Formatted(VARIANT_BOOL flag) noexcept {
    return Put(&SerializeFlags::formatted, flag);
}

STDMETHODIMP XMLFlags::get_Formatted(VARIANT_BOOL* flag) noexcept {
    return Get(&SerializeFlags::formatted, flag);
}

STDMETHODIMP XMLFlags::Clone(IUnknown** copy) noexcept try {
    if (!copy) return Refuse(E_POINTER);
    *copy = nullptr;
    const auto clone = kv::Ptr<XMLFlags>::Attach(Make());
    clone->flags_ = flags_;
    *copy = clone.As<IUnknown>().Detach();
    return S_OK;
} catch (...) {
    return CaughtStatus();
}

}  // namespace mova
