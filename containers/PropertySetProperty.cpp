#include "containers/PropertySetProperty.h"

#include "containers/PropertyList.h"
#include "kvcore/ValueFormat.h"
#include "kvcore/VariantStream.h"

namespace mova {
namespace {

constexpr std::uint16_t recordVersion = 1;
constexpr std::u16string_view keyElement = u"Key";
constexpr std::u16string_view valueElement = u"Value";

}  // namespace

STDMETHODIMP PropertySetProperty::put_Key(BSTR key) noexcept try {
    key_ = kv::BString(kv::View(key));
    SetDirty();
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
    if (FAILED(status)) return Refuse(status);
    SetDirty();
    return S_OK;
}

STDMETHODIMP PropertySetProperty::get_Value(VARIANT* value) noexcept {
    if (!value) return Refuse(E_POINTER);
    const HRESULT status = value_.CopyTo(value);
    return SUCCEEDED(status) ? S_OK : Refuse(status);
}

STDMETHODIMP PropertySetProperty::Clone(IUnknown** copy) noexcept try {
    if (!copy) return Refuse(E_POINTER);
    *copy = nullptr;
    const auto clone = kv::Ptr<PropertySetProperty>::Attach(Make());
    clone->key_ = kv::BString(key_.View());
    if (HRESULT status = value_.CopyTo(clone->value_.Put()); FAILED(status)) return Refuse(status);
    *copy = clone.As<IUnknown>().Detach();
    return S_OK;
} catch (...) {
    return CaughtStatus();
}

void STDMETHODCALLTYPE PropertySetProperty::DropObjects() noexcept {
    SetDirty();
    value_ = {};
}

void PropertySetProperty::WriteFields(kv::StreamWriter& out) const {
    out << recordVersion;
    kv::WriteText(out, key_.View());
    kv::WriteValue(out, value_.Get(), kv::Objects::kept);
}

HRESULT PropertySetProperty::ReadFields(kv::StreamReader& in) {
    std::uint16_t version = 0;
    if (in.Read(version) && version > recordVersion) return RefuseNewer();
    std::u16string key;
    kv::Variant value;
    if (!kv::ReadText(in, key) || !kv::ReadValue(in, value.Put(), kv::Objects::kept)) return in.Status();
    key_ = kv::BString(key);
    value_ = std::move(value);
    return S_OK;
}

HRESULT PropertySetProperty::WriteElements(XmlFieldWriter& out) const {
    kv::Variant value;  // an object that is written may call back and change the property
    if (HRESULT status = value_.CopyTo(value.Put()); FAILED(status)) return Refuse(status);
    out.Add(&IXMLSerializeData::AddString, keyElement, key_.Get());
    out.Add(&IXMLSerializeData::AddVariant, valueElement, value.Get());
    return out.Status();
}

HRESULT PropertySetProperty::ReadElements(XmlFieldReader& in) {
    kv::BString key;
    kv::Variant value;
    in.Get(&IXMLSerializeData::GetString, keyElement, key.Put());
    in.Get(&IXMLSerializeData::GetVariant, valueElement, value.Put());
    if (FAILED(in.Status())) return in.Status();
    key_ = std::move(key);
    value_ = std::move(value);
    return S_OK;
}

}  // namespace mova
