#include "containers/UID.h"

#include <array>
#include <optional>
#include <string>

#include "kvcore/Guid.h"
#include "kvcore/NumberText.h"
#include "kvcore/TrelCore.h"
#include "kvcore/Variant.h"
#include "xml/XmlValues.h"

namespace mova {
namespace {

constexpr std::uint16_t recordVersion = 1;
constexpr std::u16string_view valueElement = u"Value";
constexpr std::u16string_view subtypeElement = u"SubType";
/// What the names of the family's own classes begin with, whichever library has them.
constexpr std::u16string_view familyPrefix = u"mova";
constexpr std::size_t longestKeyName = 2048;

constexpr auto noValue = u"The value is neither a text nor an identifier object.";
constexpr auto badSubtype = u"The subtype must be a whole number from 0 to 2,147,483,647.";

/// A name from its first point on, which is what its class is called in whichever library; empty without a point.
std::u16string_view BehindLibrary(std::u16string_view name) noexcept {
    return name.substr(std::min(name.find(u'.'), name.size()));
}

/// Whether two texts are the same but for case, whatever the user's language.
bool SameText(std::u16string_view left, std::u16string_view right) noexcept {
    const auto length = static_cast<int>(left.size());
    return left.size() == right.size() &&
           CompareStringOrdinal(kv::Wide(left.data()), length, kv::Wide(right.data()), length, TRUE) == CSTR_EQUAL;
}

std::optional<GUID> ClassOfProgId(const std::u16string& progId) noexcept {
    GUID classId;
    if (progId.find(u'\0') != std::u16string::npos || FAILED(CLSIDFromProgID(kv::Wide(progId.c_str()), &classId)))
        return {};
    return classId;
}

/// The class that has a ProgID's name in the family's own libraries: documents outlive the names of libraries.
std::optional<GUID> ClassInFamily(std::u16string_view progId) {
    std::array<wchar_t, longestKeyName + 1> buffer;
    for (DWORD index = 0;; ++index) {
        auto length = static_cast<DWORD>(buffer.size());
        const LSTATUS status =
            RegEnumKeyExW(HKEY_CLASSES_ROOT, index, buffer.data(), &length, nullptr, nullptr, nullptr, nullptr);
        if (status == ERROR_MORE_DATA) continue;
        if (status != ERROR_SUCCESS) return {};
        const std::u16string_view name(kv::Narrow16(buffer.data()), length);
        if (name.starts_with(familyPrefix) && SameText(BehindLibrary(name), BehindLibrary(progId)))
            return ClassOfProgId(std::u16string(name));
    }
}

std::optional<GUID> AskAddInManager(std::u16string_view text) {
    const auto manager = TrelCore::GetAddInManager();
    kv::BString classId;
    if (!manager || FAILED(manager->ResolveClass(kv::BString(text).Get(), classId.Put()))) return {};
    return kv::MOVA_CLSIDFromString(classId.View());
}

/// The identifier that a text is, or that the class has that it names.
std::optional<GUID> Resolve(std::u16string_view text, bool searchesRegistry) {
    std::optional<GUID> found;
    if (text.find(u'.') == std::u16string_view::npos) {
        found = kv::MOVA_CLSIDFromString(text);
    } else {
        found = ClassOfProgId(std::u16string(text));
        if (!found && searchesRegistry) found = ClassInFamily(text);
    }
    return found ? found : AskAddInManager(text);
}

struct Identifier {
    GUID guid{};
    LONG subtype = 0;
};

/// What an identifier object holds; nothing for null and for any other object.
std::optional<Identifier> IdentifierIn(IUnknown* object) noexcept {
    const auto exchange = kv::Ptr<IUnknown>(object).As<IIdentifierExchange>();
    Identifier held;
    if (!exchange || FAILED(exchange->GetIdentifier(&held.guid, &held.subtype))) return {};
    return held;
}

constinit TrelCore::LastingAnswer registrationFree(TrelCore::GetRegFreeFlag);

}  // namespace

STDMETHODIMP UID::put_Value(VARIANT value) noexcept try {
    const bool searchesRegistry = !registrationFree.Get();
    const VARIANT* held = kv::Referred(value);
    if (!held || ((held->vt & VT_BYREF) && !held->byref)) return Refuse<IUID>(E_INVALIDARG, noValue);
    if (const auto text = kv::TextIn(*held)) return PutText(*text, searchesRegistry);
    switch (held->vt) {
        case VT_UNKNOWN:
        case VT_DISPATCH:
            return PutObject(held->punkVal);
        case VT_BYREF | VT_UNKNOWN:
        case VT_BYREF | VT_DISPATCH:
            return PutObject(*held->ppunkVal);
        default:
            return Refuse<IUID>(E_INVALIDARG, noValue);
    }
} catch (...) {
    return CaughtStatus();
}

STDMETHODIMP UID::get_Value(VARIANT* value) noexcept try {
    if (!value) return Refuse(E_POINTER);
    VariantInit(value);
    if (!hasValue_) return S_OK;
    std::array<char16_t, kv::guidTextLength + 1> text;
    const int length = kv::MOVA_StringFromGUID2(identifier_, text);
    if (length == 0) return Refuse(E_INVALIDARG);
    const std::u16string_view digits(text.data(), static_cast<std::size_t>(length) - 1);
    *value = kv::Variant::FromText(kv::BString(digits)).Detach();
    return S_OK;
} catch (...) {
    return CaughtStatus();
}

STDMETHODIMP UID::Generate() noexcept {
    GUID made;
    if (HRESULT status = CoCreateGuid(&made); FAILED(status)) return Refuse(status);
    Take(made);
    return S_OK;
}

STDMETHODIMP UID::put_SubType(LONG subtype) noexcept {
    if (subtype < 0) return Refuse<IUID>(E_INVALIDARG, badSubtype);
    TakeSubtype(subtype);
    return S_OK;
}

STDMETHODIMP UID::get_SubType(LONG* subtype) noexcept {
    if (!subtype) return Refuse(E_POINTER);
    *subtype = subtype_;
    return S_OK;
}

STDMETHODIMP UID::Compare(IUID* other, VARIANT_BOOL* equal) noexcept {
    if (!equal) return Refuse(E_POINTER);
    *equal = VARIANT_FALSE;
    const auto theirs = IdentifierIn(other);
    if (!theirs) return Refuse<IUID>(E_INVALIDARG, u"There is no identifier object to compare with.");
    const bool same = kv::BitsOf(theirs->guid) == kv::BitsOf(identifier_) && theirs->subtype == subtype_;
    *equal = same ? VARIANT_TRUE : VARIANT_FALSE;
    return S_OK;
}

STDMETHODIMP UID::SetIdentifier(const GUID* identifier, LONG subtype) noexcept {
    if (subtype < 0) return Refuse<IIdentifierExchange>(E_INVALIDARG, badSubtype);
    if (identifier) Take(*identifier);
    TakeSubtype(subtype);
    return S_OK;
}

STDMETHODIMP UID::GetIdentifier(GUID* identifier, LONG* subtype) noexcept {
    if (identifier) *identifier = identifier_;
    if (subtype) *subtype = subtype_;
    return S_OK;
}

void UID::WriteFields(kv::StreamWriter& out) const noexcept {
    out << recordVersion << std::uint8_t{hasValue_} << identifier_ << subtype_;
}

HRESULT UID::ReadFields(kv::StreamReader& in) noexcept {
    std::uint16_t version = 0;
    std::uint8_t hasValue = 0;
    Identifier read;
    in >> version >> hasValue >> read.guid >> read.subtype;
    if (read.subtype < 0) in.Fail();
    if (in.Failed()) return E_FAIL;
    identifier_ = read.guid;
    subtype_ = read.subtype;
    hasValue_ = hasValue != 0;
    return S_OK;
}

HRESULT UID::WriteElements(XmlFieldWriter& out) const {
    if (hasValue_) out.Add(&IXMLSerializeData::AddString, valueElement, kv::BString(kv::GuidText(identifier_)).Get());
    out.Add(&IXMLSerializeData::AddLong, subtypeElement, subtype_);
    return out.Status();
}

HRESULT UID::ReadElements(XmlFieldReader& in) {
    kv::BString text;
    LONG subtype = 0;
    const bool hasValue = in.Get(&IXMLSerializeData::GetString, valueElement, text.Put());
    in.Get(&IXMLSerializeData::GetLong, subtypeElement, &subtype);
    if (FAILED(in.Status())) return in.Status();
    const auto identifier = kv::MOVA_CLSIDFromString(xml::WithoutBlanks(text.View()));
    if (hasValue && !identifier) return Refuse<IXMLSerialize>(E_INVALIDARG, u"The value is no GUID.");
    if (subtype < 0) return Refuse<IXMLSerialize>(E_INVALIDARG, badSubtype);
    identifier_ = hasValue ? *identifier : GUID{};
    subtype_ = subtype;
    hasValue_ = hasValue;
    return S_OK;
}

HRESULT UID::PutObject(IUnknown* object) noexcept {
    const auto theirs = IdentifierIn(object);
    if (!theirs) return Refuse<IUID>(E_INVALIDARG, noValue);
    if (theirs->subtype < 0) return Refuse<IUID>(E_INVALIDARG, badSubtype);
    return SetIdentifier(&theirs->guid, theirs->subtype);
}

HRESULT UID::PutText(std::u16string_view text, bool searchesRegistry) {
    auto subtype = std::optional(subtype_);
    if (const auto colon = text.find(u':'); colon != std::u16string_view::npos) {
        subtype = kv::ReadNatural(text.substr(colon + 1));
        text = text.substr(0, colon);
    }
    if (!subtype) return Refuse<IUID>(E_INVALIDARG, badSubtype);
    const auto found = Resolve(text, searchesRegistry);
    if (!found) return Refuse<IUID>(E_INVALIDARG, u"The text is no GUID, and no class is known by it.");
    return SetIdentifier(&*found, *subtype);
}

void UID::Take(const GUID& identifier) noexcept {
    identifier_ = identifier;
    hasValue_ = true;
    SetDirty();
}

void UID::TakeSubtype(LONG subtype) noexcept {
    if (subtype == subtype_) return;
    subtype_ = subtype;
    SetDirty();
}

}  // namespace mova
