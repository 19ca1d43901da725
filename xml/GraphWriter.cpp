#include "xml/GraphWriter.h"

#include <bit>
#include <string>

#include "kvcore/BString.h"
#include "kvcore/NumberValue.h"
#include "xml/Base64.h"
#include "xml/SerializeData.h"
#include "xml/TreeWriter.h"
#include "xml/ValueTypes.h"
#include "xml/XmlValues.h"

namespace mova {
namespace {

constexpr auto notXml = u"An object cannot be written as XML.";
constexpr auto typeless = u"An object does not name its type.";
constexpr auto unknownRelease = u"An object names no release of the schema that knows its type.";
constexpr auto laterType = u"The release of the schema that is written does not know an object's type.";
constexpr auto tooDeep = u"The objects nest too deeply.";
constexpr auto unwritable = u"A value is of a kind that cannot be written as XML.";

/// The number that an OLE date has as XML Schema's type, where it comes back as it was.
char* FormatExactDate(char* out, double date) noexcept {
    char* const end = xml::FormatDate(out, date);
    if (!end) return nullptr;
    std::array<char16_t, xml::dateTextSize> text;
    const auto textEnd = std::copy(out, end, text.begin());
    const auto read = xml::ReadDate({text.begin(), textEnd});
    return read && std::bit_cast<std::uint64_t>(*read) == std::bit_cast<std::uint64_t>(date) ? end : nullptr;
}

bool IsPlainByteArray(const kv::ArrayView& array) noexcept {
    return array.Type() == VT_UI1 && array.Dimensions() == 1 && array.Bound(0).lLbound == 0;
}

}  // namespace

GraphWriter::GraphWriter(const xml::TypeMap& types, const Settings& settings)
    : types_(types), settings_(settings), data_(SerializeData::New()) {}

GraphWriter::~GraphWriter() = default;

void GraphWriter::CutTo(Index count, std::size_t openCount) noexcept {
    tree_.CutTo(count, openCount);
    while (!written_.empty() && written_.back().element >= count) {
        const Written latest = std::move(written_.back());  // which may come back when it ends here
        written_.pop_back();
        byIdentity_.Remove(latest.identity.Get());
    }
}

// Objects

HRESULT GraphWriter::FillObject(Index element, IUnknown* object) {
    if (!object) {
        tree_[element].isNil = true;
        return S_OK;
    }
    const auto identity = kv::Ptr<IUnknown>(object).As<IUnknown>();
    if (!identity) return data_->Explain(E_NOINTERFACE, notXml);
    const Index* const known = settings_.sharesObjects ? byIdentity_.Find(identity.Get()) : nullptr;
    if (!known) return FillNewObject(element, identity);
    tree_[*known].isReferredTo = true;
    tree_[element].target = *known;
    return S_OK;
}

HRESULT GraphWriter::FillNewObject(Index element, const kv::Ptr<IUnknown>& identity) {
    const auto object = identity.As<IXMLSerialize>();
    if (!object) return data_->Explain(E_INVALIDARG, notXml);
    const GraphDepth depth(depth_);
    if (depth.IsTooDeep()) return data_->Explain(E_FAIL, tooDeep);
    if (HRESULT status = CheckRelease(*identity.Get()); FAILED(status)) return status;
    if (settings_.sharesObjects) {
        byIdentity_.Add(identity.Get(), element);
        written_.push_back({identity, element});
    }
    {
        const SerializeData::Turn turn(*data_.Get(), *this, element);
        if (HRESULT status = object->Serialize(data_.Get()); FAILED(status)) return status;
    }
    return NameType(element, *identity.Get());
}

HRESULT GraphWriter::CheckRelease(IUnknown& object) {
    const auto support = kv::Ptr<IUnknown>(&object).As<IXMLVersionSupport>();
    if (!support) return S_OK;
    kv::BString uri;
    if (HRESULT status = support->get_MinNamespaceSupported(uri.Put()); FAILED(status)) return status;
    const auto earliest = xml::ReleaseOf(uri.View());
    if (!earliest) return data_->Explain(E_INVALIDARG, unknownRelease);
    return *earliest <= settings_.release ? S_OK : data_->Explain(E_INVALIDARG, laterType);
}

/// Completes the type that an object has named, or names it by its class.
HRESULT GraphWriter::NameType(Index element, IUnknown& object) {
    xml::ElementTree::Element& named = tree_[element];
    if (named.typeName.empty()) {
        const auto persistent = kv::Ptr<IUnknown>(&object).As<IPersist>();
        CLSID classId{};
        if (!persistent || FAILED(persistent->GetClassID(&classId))) return data_->Explain(E_INVALIDARG, typeless);
        const auto type = types_.FindType(kv::BitsOf(classId), settings_.release);
        if (!type) return data_->Explain(E_INVALIDARG, typeless);
        tree_[element].typeName = tree_.KeepOnce(type->name);
        tree_[element].typeUri = tree_.KeepOnce(type->uri);
    } else if (named.typeUri.empty()) {
        named.typeUri = xml::NamespaceOf(settings_.release);
    }
    return S_OK;
}

// Values

HRESULT GraphWriter::FillValue(Index element, const VARIANT& value) {
    if (value.vt & VT_BYREF) {
        kv::Variant direct;
        if (HRESULT status = direct.Assign(value); FAILED(status)) return data_->Explain(status, unwritable);
        return FillValue(element, direct.Get());
    }
    if (value.vt & VT_ARRAY) return FillArray(element, value);
    switch (value.vt) {
        case VT_NULL:
            tree_[element].isNil = true;
            return S_OK;
        case VT_UNKNOWN:
        case VT_DISPATCH:
            if (value.punkVal) return FillObject(element, value.punkVal);
            tree_[element].isNil = true;
            break;
        default:
            break;
    }
    const auto* const row = xml::RowOf(static_cast<kv::ValueType>(value.vt));
    if (!row || value.vt == VT_VARIANT) return data_->Explain(E_INVALIDARG, unwritable);
    SetType(element, row->name, row->isOwn);
    return FillPlain(element, value);
}

void GraphWriter::SetType(Index element, std::u16string_view name, bool isOwn) noexcept {
    tree_[element].typeName = name;
    tree_[element].typeUri = isOwn ? xml::NamespaceOf(settings_.release) : xml::schemaUri;
}

HRESULT GraphWriter::FillPlain(Index element, const VARIANT& value) {
    switch (value.vt) {
        case VT_EMPTY:
        case VT_UNKNOWN:  // no object
        case VT_DISPATCH:
            return S_OK;
        case VT_BOOL:
            tree_[element].text = value.boolVal ? u"true" : u"false";
            return S_OK;
        case VT_ERROR:
            return FillFormatted(element, [&](char* out) { return kv::FormatInt64(out, value.scode); });
        case VT_DATE:
            if (SUCCEEDED(FillFormatted(element, [&](char* out) { return FormatExactDate(out, value.date); })))
                return S_OK;
            SetType(element, xml::dateNumberName, true);
            return FillFormatted(element, [&](char* out) { return kv::FormatShortest(out, value.date); });
        case VT_BSTR:
            if (SysStringByteLen(value.bstrVal) % sizeof(char16_t) == 0) {
                FillText(element, kv::View(value.bstrVal));
            } else {
                FillEncodedText(element, value.bstrVal, SysStringByteLen(value.bstrVal));
            }
            return S_OK;
        default: {
            const HRESULT status = FillFormatted(element, [&](char* out) { return kv::FormatNumber(out, value); });
            return SUCCEEDED(status) ? status : data_->Explain(status, unwritable);
        }
    }
}

void GraphWriter::FillText(Index element, std::u16string_view text) {
    if (xml::CanBeText(text)) {
        tree_[element].text = tree_.Keep(text);
    } else {
        FillEncodedText(element, text.data(), text.size() * sizeof(char16_t));
    }
}

void GraphWriter::FillEncodedText(Index element, const void* bytes, std::size_t size) {
    SetType(element, xml::encodedTextName, true);
    FillBytes(element, {static_cast<const std::byte*>(bytes), size});
}

void GraphWriter::FillBytes(Index element, std::span<const std::byte> bytes) {
    tree_[element].text = KeepBase64(bytes);
}

std::u16string_view GraphWriter::KeepBase64(std::span<const std::byte> bytes) {
    char16_t* const text = tree_.Take(xml::Base64Size(bytes.size()));
    return {text, xml::PutBase64(text, bytes)};
}

void GraphWriter::FillKey(Index element, std::u16string_view key) {
    const bool canStand = xml::CanBeAttribute(key);
    const auto kept = canStand ? tree_.Keep(key) : KeepBase64(std::as_bytes(std::span(key)));
    tree_[element].key = kept;
    tree_[element].hasKey = true;
    tree_[element].isKeyEncoded = !canStand;
}

// Arrays

HRESULT GraphWriter::FillArray(Index element, const VARIANT& value) {
    const auto type = static_cast<VARTYPE>(value.vt & VT_TYPEMASK);
    const auto* const row = xml::RowOf(static_cast<kv::ValueType>(type));
    if (!row || row->arrayName.empty()) return data_->Explain(E_INVALIDARG, unwritable);
    SetType(element, row->arrayName, true);
    if (!value.parray) {
        tree_[element].isNil = true;
        return S_OK;
    }
    const auto array = kv::ArrayView::Of(value);
    if (!array) return data_->Explain(E_INVALIDARG, unwritable);
    if (IsPlainByteArray(*array)) {
        SetType(element, xml::bytesName, false);
        FillBytes(element, {static_cast<const std::byte*>(array->Data()), array->Count()});
        return S_OK;
    }
    const GraphDepth depth(depth_);
    if (depth.IsTooDeep()) return data_->Explain(E_FAIL, tooDeep);
    if (array->Dimensions() != 1 || array->Bound(0).lLbound != 0) {
        if (HRESULT status = AddBounds(*value.parray); FAILED(status)) return status;
    }
    return AddItems(*array);
}

HRESULT GraphWriter::AddBounds(SAFEARRAY& array) {
    std::u16string text;
    for (UINT dimension = 1; dimension <= array.cDims; ++dimension) {
        LONG lower = 0;
        LONG upper = -1;
        SafeArrayGetLBound(&array, dimension, &lower);
        SafeArrayGetUBound(&array, dimension, &upper);
        const std::string bounds =
            (dimension == 1 ? "" : " ") + std::to_string(lower) + ' ' + std::to_string(std::int64_t{upper} - lower + 1);
        text.append(bounds.begin(), bounds.end());
    }
    return Add(xml::boundsName, [&](Index element) {
        tree_[element].text = tree_.Keep(text);
        return S_OK;
    });
}

HRESULT GraphWriter::AddItems(const kv::ArrayView& array) {
    for (std::size_t i = 0; i < array.Count(); ++i) {
        const VARIANT item = array.Element(i);
        const HRESULT status = Add(xml::itemName, [&](Index element) {
            if (array.Type() == VT_VARIANT) return FillValue(element, item);
            if (array.Type() == VT_UNKNOWN || array.Type() == VT_DISPATCH) return FillObject(element, item.punkVal);
            return FillPlain(element, item);
        });
        if (FAILED(status)) return status;
    }
    return S_OK;
}

}  // namespace mova
