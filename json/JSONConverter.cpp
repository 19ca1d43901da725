#include "json/JSONConverter.h"

#include "json/JSONReader.h"
#include "json/Options.h"
#include "json/ValueForms.h"

namespace mova {

STDMETHODIMP JSONConverter::ValueToJSON(VARIANT source, VARIANT* json) noexcept try {
    if (!json) return Refuse(E_POINTER);
    VariantInit(json);
    kv::Variant made;
    if (HRESULT status = Encode(source, made); FAILED(status)) return status;
    *json = made.Detach();
    return S_OK;
} catch (...) {
    return CaughtStatus();
}

STDMETHODIMP JSONConverter::ValueFromJSON(VARIANT json, IPropertySet* options, VARIANT* made) noexcept try {
    if (!made) return Refuse(E_POINTER);
    VariantInit(made);
    kv::Variant value;
    if (HRESULT status = Decode(json, options, value); FAILED(status)) return status;
    *made = value.Detach();
    return S_OK;
} catch (...) {
    return CaughtStatus();
}

STDMETHODIMP JSONConverter::ToJSONString(VARIANT source, IPropertySet* options, BSTR* text) noexcept try {
    if (!text) return Refuse(E_POINTER);
    *text = nullptr;
    kv::Variant json;
    if (HRESULT status = Encode(source, json); FAILED(status)) return status;
    const kv::Ptr<IUnknown> held(json.Get().vt == VT_UNKNOWN ? json.Get().punkVal : nullptr);
    if (const auto object = held.As<IJSONObject>()) return object->ToJSONString(options, text);
    if (const auto array = held.As<IJSONArray>()) return array->ToJSONString(options, text);
    return Refuse<IJSONConverter>(E_INVALIDARG, u"The value is neither a property set, an array nor an identifier.");
} catch (...) {
    return CaughtStatus();
}

STDMETHODIMP JSONConverter::FromJSONString(BSTR text, IPropertySet* options, VARIANT* made) noexcept try {
    if (!made) return Refuse(E_POINTER);
    VariantInit(made);
    const auto reader = kv::Ptr<IJSONReader4>::Attach(new JSONReader(nullptr));
    kv::Ptr<IUnknown> json;
    if (HRESULT status = reader->ParseText(text, json.Put()); FAILED(status)) return status;
    kv::Variant value;
    if (HRESULT status = Decode(kv::ObjectValue(json.Get()), options, value); FAILED(status)) return status;
    *made = value.Detach();
    return S_OK;
} catch (...) {
    return CaughtStatus();
}

STDMETHODIMP JSONConverter::ToObject(BSTR type, IJSONObject* source, IPropertySet* options, IUnknown** object) noexcept
    try {
    if (!object) return Refuse(E_POINTER);
    *object = nullptr;
    if (!type || !source) return Refuse(E_POINTER);
    kv::Variant value;
    ValueDecoder decoder(FlagOption(options, u"UnknownAsJSONObject"));
    const HRESULT status = decoder.Decode(kv::View(type), kv::Ptr<IJSONObject>(source), value);
    if (FAILED(status)) return decoder.Explain<IJSONConverter>(*this, status);
    if (value.Get().vt != VT_UNKNOWN)
        return Refuse<IJSONTranslator>(E_INVALIDARG, u"The JSON object stands for an array, which is no object.");
    *object = value.Detach().punkVal;
    return S_OK;
} catch (...) {
    return CaughtStatus();
}

HRESULT JSONConverter::Encode(const VARIANT& source, kv::Variant& json) const {
    kv::Variant direct;
    if (HRESULT status = direct.Assign(source); FAILED(status)) return Refuse(status);
    ValueEncoder encoder;
    return encoder.Explain<IJSONConverter>(*this, encoder.Encode(direct.Get(), json));
}

HRESULT JSONConverter::Decode(const VARIANT& json, IPropertySet* options, kv::Variant& made) const {
    kv::Variant direct;
    if (HRESULT status = direct.Assign(json); FAILED(status)) return Refuse(status);
    ValueDecoder decoder(FlagOption(options, u"UnknownAsJSONObject"));
    return decoder.Explain<IJSONConverter>(*this, decoder.Decode(direct.Get(), made));
}

}  // namespace mova
