#include "xml/XmlNamespaceUtils.h"

#include <string>

#include "kvcore/BString.h"
#include "xml/SchemaRelease.h"
#include "xml/XmlNames.h"

namespace mova {
namespace {

constexpr auto noSuchIndex = u"The index is outside the releases.";
constexpr auto noRelease = u"The namespace belongs to no release of the schema.";
constexpr auto noName = u"The text is not a name.";

}  // namespace

template <class Fill>
HRESULT XmlNamespaceUtils::HandOut(BSTR* text, Fill fill) noexcept try {
    if (!text) return Refuse(E_POINTER);
    *text = nullptr;
    kv::BString made;
    const HRESULT status = fill(made);
    *text = made.Detach();
    return status;
} catch (...) {
    return CaughtStatus();
}

STDMETHODIMP XmlNamespaceUtils::get_CurrentNamespaceURI(BSTR* namespaceURI) noexcept {
    return HandOut(namespaceURI, [](kv::BString& uri) {
        uri = kv::BString(xml::NamespaceOf(xml::newestRelease));
        return S_OK;
    });
}

STDMETHODIMP XmlNamespaceUtils::get_ReleaseCount(LONG* releaseCount) noexcept {
    if (!releaseCount) return Refuse(E_POINTER);
    *releaseCount = static_cast<LONG>(xml::schemaReleases.size());
    return S_OK;
}

STDMETHODIMP XmlNamespaceUtils::GetReleaseNamespace(LONG index, BSTR* namespaceURI) noexcept {
    return HandOut(namespaceURI, [&](kv::BString& uri) {
        if (index < 0 || static_cast<std::size_t>(index) >= xml::schemaReleases.size())
            return Refuse<IXmlNamespaceUtils>(E_INVALIDARG, noSuchIndex);
        uri = kv::BString(xml::schemaReleases[static_cast<std::size_t>(index)].uri);
        return S_OK;
    });
}

STDMETHODIMP XmlNamespaceUtils::FindReleaseNamespace(BSTR release, BSTR* namespaceURI) noexcept {
    return HandOut(namespaceURI, [&](kv::BString& uri) {
        const auto found = xml::ReleaseNamed(kv::View(release));
        if (!found) return S_FALSE;
        uri = kv::BString(xml::NamespaceOf(*found));
        return S_OK;
    });
}

STDMETHODIMP XmlNamespaceUtils::FindRelease(BSTR namespaceURI, BSTR* release) noexcept {
    return HandOut(release, [&](kv::BString& name) {
        const auto found = xml::ReleaseOf(kv::View(namespaceURI));
        if (!found) return S_FALSE;
        name = kv::BString(xml::NameOf(*found));
        return S_OK;
    });
}

STDMETHODIMP XmlNamespaceUtils::CompareReleases(BSTR firstNamespaceURI, BSTR secondNamespaceURI, LONG* order) noexcept {
    if (!order) return Refuse(E_POINTER);
    *order = 0;
    const auto first = xml::ReleaseOf(kv::View(firstNamespaceURI));
    const auto second = xml::ReleaseOf(kv::View(secondNamespaceURI));
    if (!first || !second) return Refuse<IXmlNamespaceUtils>(E_INVALIDARG, noRelease);
    *order = static_cast<LONG>(*first > *second) - static_cast<LONG>(*first < *second);
    return S_OK;
}

STDMETHODIMP XmlNamespaceUtils::SplitName(BSTR qualifiedName, BSTR* prefix, BSTR* localName) noexcept try {
    if (prefix) *prefix = nullptr;
    if (localName) *localName = nullptr;
    if (!prefix || !localName) return Refuse(E_POINTER);
    const auto name = xml::SplitName(kv::View(qualifiedName));
    if (!name) return Refuse<IXmlNamespaceUtils>(E_INVALIDARG, noName);
    kv::BString front(name->prefix);
    kv::BString back(name->local);
    *prefix = front.Detach();
    *localName = back.Detach();
    return S_OK;
} catch (...) {
    return CaughtStatus();
}

STDMETHODIMP XmlNamespaceUtils::IsName(BSTR text, VARIANT_BOOL* answer) noexcept {
    if (!answer) return Refuse(E_POINTER);
    *answer = xml::IsName(kv::View(text)) ? VARIANT_TRUE : VARIANT_FALSE;
    return S_OK;
}

STDMETHODIMP XmlNamespaceUtils::EncodeName(BSTR text, BSTR* name) noexcept {
    return HandOut(name, [&](kv::BString& encoded) {
        std::u16string made;
        xml::AppendEncodedName(made, kv::View(text));
        encoded = kv::BString(made);
        return S_OK;
    });
}

STDMETHODIMP XmlNamespaceUtils::DecodeName(BSTR name, BSTR* text) noexcept {
    return HandOut(text, [&](kv::BString& decoded) {
        std::u16string made;
        xml::AppendDecodedName(made, kv::View(name));
        decoded = kv::BString(made);
        return S_OK;
    });
}

}  // namespace mova
