#include "xml/XMLNamespaces.h"

#include "xml/ItemAnswers.h"

namespace mova {
namespace {

constexpr auto noSuchIndex = u"The index is outside the namespaces.";
constexpr auto comesAgain = u"The prefix is declared already.";
constexpr auto noNamespace = u"A prefix must stand for a namespace.";

}  // namespace

HRESULT XMLNamespaces::RefuseIndex() const noexcept {
    return Refuse<IXMLNamespaces>(E_INVALIDARG, noSuchIndex);
}

HRESULT XMLNamespaces::HandOut(LONG index, std::u16string Item::*part, BSTR* text) noexcept try {
    return AnswerText(items_, index, part, text, [this] { return RefuseIndex(); });
} catch (...) {
    return CaughtStatus();
}

STDMETHODIMP XMLNamespaces::get_Count(LONG* namespaceCount) noexcept {
    return AnswerCount(items_, namespaceCount);
}

STDMETHODIMP XMLNamespaces::GetPrefix(LONG index, BSTR* prefix) noexcept {
    return HandOut(index, &Item::prefix, prefix);
}

STDMETHODIMP XMLNamespaces::GetURI(LONG index, BSTR* namespaceURI) noexcept {
    return HandOut(index, &Item::uri, namespaceURI);
}

STDMETHODIMP XMLNamespaces::AddNamespace(BSTR prefix, BSTR namespaceURI) noexcept try {
    const auto name = kv::View(prefix);
    const auto uri = kv::View(namespaceURI);
    if (uri.empty() && !name.empty()) return Refuse<IXMLNamespaces>(E_INVALIDARG, noNamespace);
    if (IndexOfFirst(items_, [&](const Item& item) { return item.prefix == name; }) >= 0)
        return Refuse<IXMLNamespaces>(E_INVALIDARG, comesAgain);
    Item& item = items_.Next();
    xml::Refill(item.prefix, name);
    xml::Refill(item.uri, uri);
    items_.Keep();
    return S_OK;
} catch (...) {
    return CaughtStatus();
}

STDMETHODIMP XMLNamespaces::FindPrefix(BSTR prefix, LONG* index) noexcept {
    if (!index) return Refuse(E_POINTER);
    *index = IndexOfFirst(items_, [=](const Item& item) { return item.prefix == kv::View(prefix); });
    return S_OK;
}

STDMETHODIMP XMLNamespaces::FindURI(BSTR namespaceURI, LONG* index) noexcept {
    if (!index) return Refuse(E_POINTER);
    *index = IndexOfFirst(items_, [=](const Item& item) { return item.uri == kv::View(namespaceURI); });
    return S_OK;
}

STDMETHODIMP XMLNamespaces::Remove(LONG index) noexcept {
    if (!HasItem(items_, index)) return RefuseIndex();
    items_.Remove(static_cast<std::size_t>(index));
    return S_OK;
}

STDMETHODIMP XMLNamespaces::RemoveAll() noexcept {
    items_.RemoveAll();
    return S_OK;
}

kv::Ptr<XMLNamespaces> XMLNamespaces::Of(std::span<const xml::Declaration> declarations) {
    auto made = kv::Ptr<XMLNamespaces>::Attach(Make());
    for (const xml::Declaration& declaration : declarations) {
        Item& item = made->items_.Next();
        item.prefix = declaration.prefix;
        item.uri = declaration.uri;
        made->items_.Keep();
    }
    return made;
}

void STDMETHODCALLTYPE XMLNamespaces::AppendTo(std::vector<xml::Declaration>& declarations) const {
    for (const Item& item : items_) declarations.push_back({item.prefix, item.uri});
}

}  // namespace mova
