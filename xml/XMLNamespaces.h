#pragma once

#include <movaSystem.h>

#include <span>
#include <string>

#include "kvcore/Ptr.h"
#include "server/Component.h"
#include "xml/ElementParts.h"
#include "xml/ReusedItems.h"

namespace mova {

/// The namespaces that an XML element declares.
class XMLNamespaces final : public Component<XMLNamespaces, ::XMLNamespaces, IXMLNamespaces, IHoldsNamespaces> {
 public:
    using Component::Component;

    // IXMLNamespaces
    STDMETHODIMP get_Count(LONG* namespaceCount) noexcept override;
    STDMETHODIMP GetPrefix(LONG index, BSTR* prefix) noexcept override;
    STDMETHODIMP GetURI(LONG index, BSTR* namespaceURI) noexcept override;
    STDMETHODIMP AddNamespace(BSTR prefix, BSTR namespaceURI) noexcept override;
    STDMETHODIMP FindPrefix(BSTR prefix, LONG* index) noexcept override;
    STDMETHODIMP FindURI(BSTR namespaceURI, LONG* index) noexcept override;
    STDMETHODIMP Remove(LONG index) noexcept override;
    STDMETHODIMP RemoveAll() noexcept override;

    /// A collection of them. @throw std::bad_alloc
    static kv::Ptr<XMLNamespaces> Of(std::span<const xml::Declaration> declarations);

    // IHoldsNamespaces
    void STDMETHODCALLTYPE AppendTo(std::vector<xml::Declaration>& declarations) const override;

 private:
    struct Item {
        std::u16string prefix, uri;
    };
    HRESULT RefuseIndex() const noexcept;
    HRESULT HandOut(LONG index, std::u16string Item::*part, BSTR* text) noexcept;

    xml::ReusedItems<Item> items_;
};

}  // namespace mova
