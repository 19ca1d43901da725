#pragma once

#include <movaSystem.h>

#include <span>
#include <string>

#include "kvcore/Ptr.h"
#include "server/Component.h"
#include "xml/ElementParts.h"
#include "xml/ReusedItems.h"

namespace mova {

/// The attributes of an XML element.
class XMLAttributes final : public Component<XMLAttributes, ::XMLAttributes, IXMLAttributes, IHoldsAttributes> {
 public:
    using Component::Component;

    // IXMLAttributes
    STDMETHODIMP get_Count(LONG* attributeCount) noexcept override;
    STDMETHODIMP GetNamespaceURI(LONG index, BSTR* namespaceURI) noexcept override;
    STDMETHODIMP GetLocalName(LONG index, BSTR* localName) noexcept override;
    STDMETHODIMP GetValue(LONG index, BSTR* attributeValue) noexcept override;
    STDMETHODIMP AddAttribute(BSTR namespaceURI, BSTR localName, BSTR attributeValue) noexcept override;
    STDMETHODIMP SetValue(LONG index, BSTR attributeValue) noexcept override;
    STDMETHODIMP FindAttribute(BSTR namespaceURI, BSTR localName, LONG* index) noexcept override;
    STDMETHODIMP Remove(LONG index) noexcept override;
    STDMETHODIMP RemoveAll() noexcept override;

    /// A collection of them. @throw std::bad_alloc
    static kv::Ptr<XMLAttributes> Of(std::span<const xml::Attribute> attributes);

    // IHoldsAttributes
    void STDMETHODCALLTYPE AppendTo(std::vector<xml::Attribute>& attributes) const override;

 private:
    struct Item {
        std::u16string uri, name, value;
    };
    HRESULT RefuseIndex() const noexcept;
    HRESULT HandOut(LONG index, std::u16string Item::*part, BSTR* text) noexcept;
    LONG IndexOf(std::u16string_view uri, std::u16string_view name) noexcept;

    xml::ReusedItems<Item> items_;
};

}  // namespace mova
