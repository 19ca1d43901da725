#include "xml/XMLAttributes.h"

#include "xml/ItemAnswers.h"

namespace mova {
namespace {

constexpr auto noSuchIndex = u"The index is outside the attributes.";
constexpr auto nameless = u"An attribute must have a name.";
constexpr auto comesAgain = u"There is an attribute of that name already.";

}  // namespace

HRESULT XMLAttributes::RefuseIndex() const noexcept {
    return Refuse<IXMLAttributes>(E_INVALIDARG, noSuchIndex);
}

HRESULT XMLAttributes::HandOut(LONG index, std::u16string Item::*part, BSTR* text) noexcept try {
    return AnswerText(items_, index, part, text, [this] { return RefuseIndex(); });
} catch (...) {
    return CaughtStatus();
}

STDMETHODIMP XMLAttributes::get_Count(LONG* attributeCount) noexcept {
    return AnswerCount(items_, attributeCount);
}

STDMETHODIMP XMLAttributes::GetNamespaceURI(LONG index, BSTR* namespaceURI) noexcept {
    return HandOut(index, &Item::uri, namespaceURI);
}

STDMETHODIMP XMLAttributes::GetLocalName(LONG index, BSTR* localName) noexcept {
    return HandOut(index, &Item::name, localName);
}

STDMETHODIMP XMLAttributes::GetValue(LONG index, BSTR* attributeValue) noexcept {
    return HandOut(index, &Item::value, attributeValue);
}

LONG XMLAttributes::IndexOf(std::u16string_view uri, std::u16string_view name) noexcept {
    return IndexOfFirst(items_, [&](const Item& item) { return item.name == name && item.uri == uri; });
}

STDMETHODIMP XMLAttributes::AddAttribute(BSTR namespaceURI, BSTR localName, BSTR attributeValue) noexcept try {
    const auto uri = kv::View(namespaceURI);
    const auto name = kv::View(localName);
    if (name.empty()) return Refuse<IXMLAttributes>(E_INVALIDARG, nameless);
    if (IndexOf(uri, name) >= 0) return Refuse<IXMLAttributes>(E_INVALIDARG, comesAgain);
    Item& item = items_.Next();
    xml::Refill(item.uri, uri);
    xml::Refill(item.name, name);
    xml::Refill(item.value, kv::View(attributeValue));
    items_.Keep();
    return S_OK;
} catch (...) {
    return CaughtStatus();
}

STDMETHODIMP XMLAttributes::SetValue(LONG index, BSTR attributeValue) noexcept try {
    if (!HasItem(items_, index)) return RefuseIndex();
    items_[static_cast<std::size_t>(index)].value = kv::View(attributeValue);
    return S_OK;
} catch (...) {
    return CaughtStatus();
}

STDMETHODIMP XMLAttributes::FindAttribute(BSTR namespaceURI, BSTR localName, LONG* index) noexcept {
    if (!index) return Refuse(E_POINTER);
    *index = IndexOf(kv::View(namespaceURI), kv::View(localName));
    return S_OK;
}

STDMETHODIMP XMLAttributes::Remove(LONG index) noexcept {
    if (!HasItem(items_, index)) return RefuseIndex();
    items_.Remove(static_cast<std::size_t>(index));
    return S_OK;
}

STDMETHODIMP XMLAttributes::RemoveAll() noexcept {
    items_.RemoveAll();
    return S_OK;
}

kv::Ptr<XMLAttributes> XMLAttributes::Of(std::span<const xml::Attribute> attributes) {
    auto made = kv::Ptr<XMLAttributes>::Attach(Make());
    for (const xml::Attribute& attribute : attributes) {
        Item& item = made->items_.Next();
        item.uri = attribute.uri;
        item.name = attribute.name;
        item.value = attribute.value;
        made->items_.Keep();
    }
    return made;
}

void STDMETHODCALLTYPE XMLAttributes::AppendTo(std::vector<xml::Attribute>& attributes) const {
    for (const Item& item : items_) attributes.push_back({item.uri, item.name, item.value});
}

}  // namespace mova
