#pragma once

#include <movaSystem.h>

#include <string>

#include "streams/PersistentComponent.h"

namespace mova {

/// An object as the XML document that it is written as.
class XMLPersistedObject final
    : public PersistentComponent<XMLPersistedObject, ::XMLPersistedObject, IXMLPersistedObject, IClone> {
 public:
    using PersistentComponent::PersistentComponent;

    // IXMLPersistedObject
    STDMETHODIMP put_XML(BSTR document) noexcept override;
    STDMETHODIMP get_XML(BSTR* document) noexcept override;
    STDMETHODIMP put_Object(IUnknown* object) noexcept override;
    STDMETHODIMP get_Object(IUnknown** object) noexcept override;
    // IClone
    STDMETHODIMP Clone(IUnknown** copy) noexcept override { return CloneBySaving(copy); }

    // PersistentComponent's
    void WriteFields(kv::StreamWriter& out) const noexcept;
    HRESULT ReadFields(kv::StreamReader& in);

 private:
    void Take(std::u16string document) noexcept;

    std::u16string document_;
};

}  // namespace mova
