#pragma once

#include <movaSystem.h>
#include "server/Component.h"

namespace mova {

/// The releases of the XML schema, which are in SchemaRelease.h, and names of XML, whose rules are in XmlNames.h.
class XmlNamespaceUtils final : public Component<XmlNamespaceUtils, ::XmlNamespaceUtils, IXmlNamespaceUtils> {
 public:
    using Component::Component;

    // IXmlNamespaceUtils
    STDMETHODIMP get_CurrentNamespaceURI(BSTR* namespaceURI) noexcept override;
    STDMETHODIMP get_ReleaseCount(LONG* releaseCount) noexcept override;
    STDMETHODIMP GetReleaseNamespace(LONG index, BSTR* namespaceURI) noexcept override;
    STDMETHODIMP FindReleaseNamespace(BSTR release, BSTR* namespaceURI) noexcept override;
    STDMETHODIMP FindRelease(BSTR namespaceURI, BSTR* release) noexcept override;
    STDMETHODIMP CompareReleases(BSTR firstNamespaceURI, BSTR secondNamespaceURI, LONG* order) noexcept override;
    STDMETHODIMP SplitName(BSTR qualifiedName, BSTR* prefix, BSTR* localName) noexcept override;
    STDMETHODIMP IsName(BSTR text, VARIANT_BOOL* answer) noexcept override;
    STDMETHODIMP EncodeName(BSTR text, BSTR* name) noexcept override;
    STDMETHODIMP DecodeName(BSTR name, BSTR* text) noexcept override;

 private:
    /// Hands out a text. @param fill HRESULT(kv::BString& text), which may throw
    template <class Fill>
    static HRESULT HandOut(BSTR* text, Fill fill) noexcept;
};

}  // namespace mova
