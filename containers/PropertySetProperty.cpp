#include "containers/PropertySetProperty.h"

#include "containers/PropertyList.h"
#include "kvcore/Ptr.h"

namespace mova {

STDMETHODIMP PropertySetProperty::put_Key(BSTR key) noexcept try {
    key_ = kv::BString(kv::View(key));
    return S_OK;
} catch (...) {
    return CaughtStatus();
}

STDMETHODIMP PropertySetProperty::get_Key(BSTR* key) noexcept try {
    if (!key) return Refuse(E_POINTER);
    *key = nullptr;
    *key = kv::BString(key_.View()).Detach();
    return S_OK;
} catch (...) {
    return CaughtStatus();
}

STDMETHODIMP PropertySetProperty::put_Value(VARIANT value) noexcept {
    const HRESULT status = value_.Assign(value);
    if (status == E_INVALIDARG) return Refuse<IPropertySetProperty>(status, unkeepableValue);
    return SUCCEEDED(status) ? S_OK : Refuse(status);
}

STDMETHODIMP PropertySetProperty::get_Value(VARIANT* value) noexcept {
    if (!value) return Refuse(E_POINTER);
    const HRESULT status = value_.CopyTo(value);
    return SUCCEEDED(status) ? S_OK : Refuse(status);
}

STDMETHODIMP PropertySetProperty::Clone(IUnknown** copy) noexcept try {
    if (!copy) return Refuse(E_POINTER);
    *copy = nullptr;
    const auto made = kv::Ptr<PropertySetProperty>::Attach(Make());
    made->key_ = kv::BString(key_.View());
    if (HRESULT status = made->value_.Assign(value_.Get()); FAILED(status)) return Refuse(status);
    *copy = kv::Ptr<IUnknown>(made->Own()).Detach();
    return S_OK;
} catch (...) {
    return CaughtStatus();
}

}  // namespace mova
