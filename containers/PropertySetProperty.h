#pragma once

#include <movaSystem.h>
#include "kvcore/Variant.h"
#include "server/HoldsObjects.h"
#include "xml/XmlPersistentComponent.h"

namespace mova {

/// One named value as an object.
class PropertySetProperty final : public XmlPersistentComponent<PropertySetProperty, ::PropertySetProperty,
                                                                IPropertySetProperty, IClone, IHoldsObjects> {
 public:
    using XmlPersistentComponent::XmlPersistentComponent;

    // IPropertySetProperty
    STDMETHODIMP put_Key(BSTR key) noexcept override;
    STDMETHODIMP get_Key(BSTR* key) noexcept override;
    STDMETHODIMP put_Value(VARIANT value) noexcept override;
    STDMETHODIMP get_Value(VARIANT* value) noexcept override;
    // IClone
    STDMETHODIMP Clone(IUnknown** copy) noexcept override;
    // IHoldsObjects
    void STDMETHODCALLTYPE DropObjects() noexcept override;

    // PersistentComponent's
    void WriteFields(kv::StreamWriter& out) const;
    HRESULT ReadFields(kv::StreamReader& in);
    // XmlPersistentComponent's
    static constexpr std::u16string_view typeName = u"PropertySetProperty";
    HRESULT WriteElements(XmlFieldWriter& out) const;
    HRESULT ReadElements(XmlFieldReader& in);

 private:
    kv::BString key_;
    kv::Variant value_;
};

}  // namespace mova
