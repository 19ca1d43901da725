#pragma once

#include <movaSystem.h>

#include "json/ValueForms.h"
#include "server/Component.h"

namespace mova {

/// Makes JSON of property sets, arrays and identifiers, and these of JSON.
class JSONConverter final : public Component<JSONConverter, ::JSONConverter, IJSONConverter, IJSONTranslator> {
 public:
    using Component::Component;
    using Component::Make;

    // IJSONConverter
    STDMETHODIMP ValueToJSON(VARIANT source, VARIANT* json) noexcept override;
    STDMETHODIMP ValueFromJSON(VARIANT json, IPropertySet* options, VARIANT* made) noexcept override;
    STDMETHODIMP ToJSONString(VARIANT source, IPropertySet* options, BSTR* text) noexcept override;
    STDMETHODIMP FromJSONString(BSTR text, IPropertySet* options, VARIANT* made) noexcept override;
    // IJSONTranslator
    STDMETHODIMP ToObject(BSTR type, IJSONObject* source, IPropertySet* options, IUnknown** object) noexcept override;

 private:
    HRESULT Encode(const VARIANT& source, kv::Variant& json) const;
    HRESULT Decode(const VARIANT& json, IPropertySet* options, kv::Variant& made) const;
};

}  // namespace mova
