#pragma once

#include "xml/SerializerComponent.h"

namespace mova {

/// Writes objects as whole XML documents and reads them.
class XMLSerializerAlt final : public SerializerComponent<XMLSerializerAlt, ::XMLSerializerAlt, IXMLSerializerAlt> {
 public:
    using SerializerComponent::Make;
    using SerializerComponent::SerializerComponent;

    // IXMLSerializerAlt
    STDMETHODIMP SaveToStream(IUnknown* object, BSTR name, IStream* stream) noexcept override;
    STDMETHODIMP LoadFromStream(IStream* stream, IUnknown** object) noexcept override;
    STDMETHODIMP SaveToString(IUnknown* object, BSTR name, BSTR* text) noexcept override;
    STDMETHODIMP LoadFromString(BSTR text, IUnknown** object) noexcept override;
    STDMETHODIMP SaveToFile(IUnknown* object, BSTR name, BSTR fileName) noexcept override;
    STDMETHODIMP LoadFromFile(BSTR fileName, IUnknown** object) noexcept override;

 private:
    template <class Write>
    HRESULT Save(IUnknown* object, BSTR name, Write write);
    HRESULT Load(IXMLReader& reader, IUnknown** object);
};

}  // namespace mova
