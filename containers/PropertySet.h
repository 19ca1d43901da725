#pragma once

#include <movaSystem.h>
#include "containers/PropertyList.h"
#include "kvcore/VariantStream.h"
#include "server/HoldsObjects.h"
#include "xml/XmlPersistentComponent.h"

namespace mova {

/// An ordered list of named values; how they are kept and found is in PropertyList.h.
class PropertySet final
    : public XmlPersistentComponent<PropertySet, ::PropertySet, Generations<IPropertySet2, IPropertySet>,
                                    IPropertySetImpl, IClone, IHoldsObjects> {
 public:
    using Component::Make;
    using XmlPersistentComponent::XmlPersistentComponent;

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
    // IPropertySetImpl
    STDMETHODIMP SaveByValue(IStream* stream, DWORD context) noexcept override;
    STDMETHODIMP LoadByValue(IStream* stream, DWORD context) noexcept override;
    // IClone
    STDMETHODIMP Clone(IUnknown** copy) noexcept override;
    // IHoldsObjects
    void STDMETHODCALLTYPE DropObjects() noexcept override { RemoveAllProperties(); }

    // PersistentComponent's
    void WriteFields(kv::StreamWriter& out) const { WriteProperties(out, kv::Objects::kept); }
    HRESULT ReadFields(kv::StreamReader& in) { return ReadProperties(in, kv::Objects::kept); }
    // XmlPersistentComponent's
    static constexpr std::u16string_view typeName = u"PropertySet";
    HRESULT WriteElements(XmlFieldWriter& out) const;
    HRESULT ReadElements(XmlFieldReader& in);

 private:
    /// @param objects dropped: for a transfer by value, in which empty values become null, too.
    void WriteProperties(kv::StreamWriter& out, kv::Objects objects) const;
    HRESULT ReadProperties(kv::StreamReader& in, kv::Objects objects);
    HRESULT RefuseUnknown(std::u16string_view name) const noexcept;
    HRESULT RefuseValue(HRESULT status) const noexcept;

    PropertyList properties_;
};

}  // namespace mova
