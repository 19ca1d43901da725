#pragma once

#include <movaSystem.h>
#include "kvcore/Variant.h"
#include "server/Component.h"

namespace mova {

/// One named value as an object.
class PropertySetProperty final
    : public Component<PropertySetProperty, ::PropertySetProperty, IPropertySetProperty, IClone> {
 public:
    using Component::Component;

    // IPropertySetProperty
    STDMETHODIMP put_Key(BSTR key) noexcept override;
    STDMETHODIMP get_Key(BSTR* key) noexcept override;
    STDMETHODIMP put_Value(VARIANT value) noexcept override;
    STDMETHODIMP get_Value(VARIANT* value) noexcept override;
    // IClone
    STDMETHODIMP Clone(IUnknown** copy) noexcept override;

 private:
    kv::BString key_;
    kv::Variant value_;
};

}  // namespace mova
