#pragma once

#include "xml/SerializerComponent.h"

namespace mova {

/// Writes objects as elements of XML documents and reads them.
class XMLSerializer final : public SerializerComponent<XMLSerializer, ::XMLSerializer, IXMLSerializer> {
 public:
    using SerializerComponent::SerializerComponent;

    // IXMLSerializer
    STDMETHODIMP WriteObject(IXMLWriter* writer, BSTR name, BSTR namespaceURI, IUnknown* object) noexcept override;
    STDMETHODIMP WriteVariant(IXMLWriter* writer, BSTR name, BSTR namespaceURI, VARIANT element) noexcept override;
    STDMETHODIMP ReadObject(IXMLReader* reader, IUnknown** object) noexcept override;
    STDMETHODIMP ReadVariant(IXMLReader* reader, VARIANT* element) noexcept override;

 private:
    template <class Fill>
    HRESULT Write(IXMLWriter* writer, BSTR name, BSTR namespaceURI, Fill fill) noexcept;
};

}  // namespace mova
