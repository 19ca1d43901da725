#pragma once

#include <movaSystem.h>
#include "containers/PropertyList.h"
#include "server/Component.h"

namespace mova {

/// An ordered list of named values; how they are kept and found is in PropertyList.h.
class PropertySet final
    : public Component<PropertySet, ::PropertySet, Generations<IPropertySet2, IPropertySet>, IClone> {
 public:
    using Component::Component;

    // IPropertySet
    STDMETHODIMP GetCount(LONG* count) noexcept override;
    STDMETHODIMP SetProperty(BSTR name, VARIANT value) noexcept override;
    STDMETHODIMP SetProperties(VARIANT names, VARIANT values) noexcept override;
    STDMETHODIMP GetProperty(BSTR name, VARIANT* value) noexcept override;
    STDMETHODIMP GetProperties(VARIANT names, VARIANT* values) noexcept override;
    STDMETHODIMP GetAllProperties(VARIANT* names, VARIANT* values) noexcept override;
    STDMETHODIMP RemoveProperty(BSTR name) noexcept override;
    STDMETHODIMP IsEqual(IPropertySet* other, VARIANT_BOOL* equal) noexcept override;
    // IPropertySet2
    STDMETHODIMP GetPropertyAt(LONG index, BSTR* name, VARIANT* value) noexcept override;
    STDMETHODIMP HasProperty(BSTR name, VARIANT_BOOL* found) noexcept override;
    STDMETHODIMP RemoveAllProperties() noexcept override;
    // IClone
    STDMETHODIMP Clone(IUnknown** copy) noexcept override;

 private:
    HRESULT RefuseUnknown(std::u16string_view name) const noexcept;
    HRESULT RefuseValue(HRESULT status) const noexcept;

    PropertyList properties_;
};

}  // namespace mova
