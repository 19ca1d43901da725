#pragma once

#include <movaSystem.h>
#include "kvcore/Variant.h"
#include "server/HoldsObjects.h"
#include "streams/PersistentComponent.h"

namespace mova {

/// One named value as an object.
class PropertySetProperty final : public PersistentComponent<PropertySetProperty, ::PropertySetProperty,
                                                             IPropertySetProperty, IClone, IHoldsObjects> {
 public:
    using PersistentComponent::PersistentComponent;

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

 private:
    kv::BString key_;
    kv::Variant value_;
};

}  // namespace mova
