#include "xml/GraphReader.h"

#include <cstring>
#include <limits>

#include "kvcore/Guid.h"
#include "kvcore/NumberValue.h"
#include "kvcore/SafeArray.h"
#include "server/HoldsObjects.h"
#include "xml/Base64.h"
#include "xml/ByteArrays.h"
#include "xml/ReaderNodes.h"
#include "xml/SerializeData.h"
#include "xml/ValueTypes.h"
#include "xml/XmlValues.h"

namespace mova {
namespace {

constexpr auto noElement = u"The document has no element here.";
constexpr auto endsEarly = u"The document ends within an element.";
constexpr auto repeatedId = u"Two elements of the document have the same identifier.";
constexpr auto noSuchId = u"A reference names no element of the document.";
constexpr auto failedBefore = u"A reference names an object that could not be read.";
constexpr auto notXml = u"An object of the document cannot be read from XML.";
constexpr auto tooDeep = u"The objects nest too deeply.";
constexpr auto noValue = u"The text is no value of its type.";
constexpr auto unknownType = u"An element has a type of which no value is known.";
constexpr auto badKey = u"The key of an element is not base64 of UTF-16 text.";
constexpr auto noDispatch = u"An object in an array is not one for automation.";
constexpr auto badArray = u"The bounds of an array are not those of its elements.";
constexpr UINT unknownClassMessage = 2203;
constexpr std::size_t mostDimensions = 64;

template <class Integer>
bool TakeInteger(std::u16string_view text, Integer& number) noexcept {
    using Limits = std::numeric_limits<Integer>;
    const auto read = xml::ReadInteger(text, Limits::min(), Limits::max());
    if (read) number = static_cast<Integer>(*read);
    return read.has_value();
}

template <class Number>
bool Take(const std::optional<Number>& read, auto& number) noexcept {
    if (read) number = *read;
    return read.has_value();
}

/// Takes what there is up to white space from the front of a text.
std::u16string_view TakeWord(std::u16string_view& text) noexcept {
    text = xml::WithoutBlanks(text);
    const auto word = text.substr(0, text.find_first_of(u" \t\r\n"));
    text.remove_prefix(word.size());
    return word;
}

bool TakeDecimal(std::u16string_view text, DECIMAL& number) noexcept {
    const auto read = xml::ReadDecimal(text);
    if (!read) return false;
    kv::SetDecimal(number, read->high, read->low, read->scale, read->isNegative);
    return true;
}

}  // namespace

GraphReader::GraphReader(const xml::TypeMap& types, const Settings& settings)
    : types_(types), settings_(settings), data_(SerializeData::New()) {}

GraphReader::~GraphReader() = default;

HRESULT GraphReader::TakeIn(IXMLReader& reader) {
    const auto nodes = ReaderNodes::Over(reader);
    movaXMLNodeType type = movaXMLNone;
    HRESULT status = reader.get_NodeType(&type);
    while (SUCCEEDED(status) && type != movaXMLStartElement) {
        VARIANT_BOOL found = VARIANT_FALSE;
        status = reader.Read(&found);
        if (SUCCEEDED(status) && !found) return data_->Explain(E_FAIL, noElement);
        if (SUCCEEDED(status)) status = reader.get_NodeType(&type);
    }
    if (FAILED(status)) return status;
    if (!tree_.Read(nodes->Nodes()))
        return FAILED(nodes->Status()) ? nodes->Status() : data_->Explain(E_FAIL, endsEarly);
    return tree_.FindIds() ? data_->Explain(E_FAIL, repeatedId) : S_OK;
}

void GraphReader::Drop() noexcept {
    const auto identified = std::exchange(identified_, {});
    for (const auto& [element, known] : identified)
        if (const auto holder = known.object.As<IHoldsObjects>()) holder->DropObjects();
}

// Objects

HRESULT GraphReader::ReadObject(Index element, kv::Ptr<IUnknown>& object) {
    if (HRESULT status = Resolve(element); FAILED(status)) return status;
    if (tree_[element].isNil) return S_FALSE;
    if (const auto known = identified_.find(element); known != identified_.end()) {
        if (FAILED(known->second.status)) return data_->Explain(known->second.status, failedBefore);
        object = known->second.object;
        return S_OK;
    }
    return ReadNewObject(element, object);
}

/// The element itself, or the one that it refers to.
HRESULT GraphReader::Resolve(Index& element) {
    if (!tree_[element].isReference) return S_OK;
    element = tree_.WithId(tree_[element].id);
    return element == xml::ElementTree::none ? data_->Explain(E_FAIL, noSuchId) : S_OK;
}

std::optional<CLSID> GraphReader::ClassOf(const xml::ElementTree::Element& element) const noexcept {
    const xml::TypeName type = element.typeName.empty()
                                   ? xml::TypeName{element.name, xml::NamespaceOf(xml::newestRelease)}
                                   : xml::TypeName{element.typeName, element.typeUri};
    const auto found = types_.FindClass(type);
    if (!found) return {};
    return std::bit_cast<CLSID>(*found);
}

HRESULT GraphReader::ReadNewObject(Index element, kv::Ptr<IUnknown>& object) {
    const auto classId = ClassOf(tree_[element]);
    kv::Ptr<IUnknown> made;
    const HRESULT creating =
        classId ? creator_.Create(*classId, nullptr, __uuidof(IUnknown), made.PutVoid()) : REGDB_E_CLASSNOTREG;
    if (creating == E_OUTOFMEMORY) return Refuse(creating);
    if (FAILED(creating) || !made)
        return settings_.readsUnknownAsNull ? S_FALSE : data_->Explain(E_FAIL, unknownClassMessage);
    const auto serialized = made.As<IXMLSerialize>();
    if (!serialized) return data_->Explain(E_FAIL, notXml);
    const GraphDepth depth(depth_);
    if (depth.IsTooDeep()) return data_->Explain(E_FAIL, tooDeep);
    const SerializeData::Turn turn(*data_.Get(), *this, element);
    Identified* const known =
        tree_[element].id.empty() ? nullptr : &identified_.insert({element, {made, S_OK}}).first->second;
    if (HRESULT status = serialized->Deserialize(data_.Get()); FAILED(status)) {
        if (known) known->status = status;
        return status;
    }
    object = std::move(made);
    return S_OK;
}

// Values

HRESULT GraphReader::ReadValue(Index element, kv::Variant& value) {
    const xml::ElementTree::Element& read = tree_[element];
    const auto type = read.isReference        ? std::optional(xml::NamedType{kv::ValueType::unknown, false})
                      : read.typeName.empty() ? std::optional(xml::NamedType{kv::ValueType::text, false})
                                              : xml::TypeNamed(read.typeName, read.typeUri);
    if (read.isKeyEncoded) return data_->Explain(E_INVALIDARG, badKey);
    if (!type && read.typeUri == xml::schemaUri) return data_->Explain(E_INVALIDARG, unknownType);
    const bool isPlain =
        type && !type->isArray && type->type != kv::ValueType::unknown && type->type != kv::ValueType::dispatch;
    VARIANT made{};
    if (isPlain && read.isNil) {
        made.vt = VT_NULL;
        value = kv::Variant::Attach(made);
        return S_OK;
    }
    if (isPlain) return ReadPlain(element, static_cast<VARTYPE>(type->type), value);
    if (type && type->isArray) return ReadArray(element, static_cast<VARTYPE>(type->type), value);
    kv::Ptr<IUnknown> object;
    if (HRESULT status = ReadObject(element, object); FAILED(status)) return status;
    auto dispatch = type && type->type == kv::ValueType::dispatch ? object.As<IDispatch>() : kv::Ptr<IDispatch>();
    if (dispatch || (type && type->type == kv::ValueType::dispatch && !object)) {
        made.vt = VT_DISPATCH;
        made.pdispVal = dispatch.Detach();
    } else {
        made = kv::ObjectValue(object.Detach());
    }
    value = kv::Variant::Attach(made);
    return S_OK;
}

HRESULT GraphReader::ReadPlain(Index element, VARTYPE type, kv::Variant& value) {
    const xml::ElementTree::Element& read = tree_[element];
    const std::u16string_view text = read.text;
    VARIANT made{};
    bool isRead = true;
    switch (type) {
        case VT_EMPTY:
            break;
        case VT_BOOL: {
            const auto flag = xml::ReadBoolean(text);
            made.boolVal = flag.value_or(false) ? VARIANT_TRUE : VARIANT_FALSE;
            isRead = flag.has_value();
            break;
        }
        case VT_I1:
            isRead = TakeInteger(text, made.cVal);
            break;
        case VT_UI1:
            isRead = TakeInteger(text, made.bVal);
            break;
        case VT_I2:
            isRead = TakeInteger(text, made.iVal);
            break;
        case VT_UI2:
            isRead = TakeInteger(text, made.uiVal);
            break;
        case VT_I4:
        case VT_INT:
        case VT_ERROR:
            isRead = TakeInteger(text, made.lVal);
            break;
        case VT_UI4:
        case VT_UINT:
            isRead = TakeInteger(text, made.ulVal);
            break;
        case VT_I8:
            isRead = TakeInteger(text, made.llVal);
            break;
        case VT_UI8:
            isRead = Take(xml::ReadUnsigned(text, std::numeric_limits<ULONGLONG>::max()), made.ullVal);
            break;
        case VT_R4:
            isRead = Take(xml::ReadFloat(text), made.fltVal);
            break;
        case VT_R8:
            isRead = Take(xml::ReadDouble(text), made.dblVal);
            break;
        case VT_CY:
            isRead = Take(xml::ReadCurrency(text), made.cyVal.int64);
            break;
        case VT_DATE:
            isRead =
                Take(read.typeName == xml::dateNumberName ? xml::ReadDouble(text) : xml::ReadDate(text), made.date);
            break;
        case VT_DECIMAL:
            isRead = TakeDecimal(text, made.decVal) && xml::IsInRangeOf(read.typeName, text);
            break;
        case VT_BSTR: {
            kv::BString copy;
            if (HRESULT status = ReadText(element, copy); FAILED(status)) return status;
            made.bstrVal = copy.Detach();
            break;
        }
        default:
            return data_->Explain(E_INVALIDARG, unknownType);
    }
    if (!isRead) return data_->Explain(E_INVALIDARG, noValue);
    made.vt = type;
    value = kv::Variant::Attach(made);
    return S_OK;
}

HRESULT GraphReader::ReadText(Index element, kv::BString& text) {
    const xml::ElementTree::Element& read = tree_[element];
    if (read.typeName != xml::encodedTextName || !xml::ReleaseOf(read.typeUri)) {
        text = kv::BString(read.text);
        return S_OK;
    }
    std::vector<std::byte> bytes(xml::BytesOfBase64(read.text));
    const auto size = xml::ReadBase64(bytes.data(), read.text);
    if (!size) return data_->Explain(E_INVALIDARG, noValue);
    if (*size > std::numeric_limits<INT>::max()) throw std::bad_alloc();
    text = kv::BString::Attach(
        SysAllocStringByteLen(reinterpret_cast<const char*>(bytes.data()), static_cast<UINT>(*size)));
    if (!text.Get()) throw std::bad_alloc();
    return S_OK;
}

HRESULT GraphReader::ReadBytes(Index element, kv::Variant& bytes) {
    const std::u16string_view text = tree_[element].text;
    auto made = mova::ReadBytes(text, xml::BytesOfBase64(text), xml::ReadBase64);
    if (!made) return data_->Explain(E_INVALIDARG, noValue);
    bytes = *std::move(made);
    return S_OK;
}

// Arrays

HRESULT GraphReader::ReadArray(Index element, VARTYPE type, kv::Variant& value) {
    const xml::ElementTree::Element& read = tree_[element];
    if (read.isNil) {
        value = kv::Variant::FromArray(nullptr, type);
        return S_OK;
    }
    if (read.typeName == xml::bytesName) return ReadBytes(element, value);
    const GraphDepth depth(depth_);
    if (depth.IsTooDeep()) return data_->Explain(E_FAIL, tooDeep);
    std::vector<SAFEARRAYBOUND> bounds;
    Index next = xml::ElementTree::FirstIn(element);
    if (HRESULT status = ReadBounds(element, bounds, next); FAILED(status)) return status;
    SAFEARRAY* const array = SafeArrayCreate(type, static_cast<UINT>(bounds.size()), bounds.data());
    if (!array) throw std::bad_alloc();
    kv::Variant made = kv::Variant::FromArray(array, type);
    auto* place = static_cast<std::byte*>(array->pvData);
    for (; next < tree_[element].end; next = tree_[next].end) {
        if (tree_[next].name != xml::itemName) continue;
        kv::Variant item;
        if (HRESULT status = ReadItem(next, type, item); FAILED(status)) return status;
        const VARIANT moved = item.Detach();
        const bool isWhole = type == VT_VARIANT || type == VT_DECIMAL;
        std::memcpy(place, isWhole ? static_cast<const void*>(&moved) : &moved.llVal, array->cbElements);
        place += array->cbElements;
    }
    value = std::move(made);
    return S_OK;
}

HRESULT GraphReader::ReadItem(Index element, VARTYPE type, kv::Variant& item) {
    if (type == VT_VARIANT) return ReadValue(element, item);
    if (type != VT_UNKNOWN && type != VT_DISPATCH) return ReadPlain(element, type, item);
    kv::Ptr<IUnknown> object;
    if (HRESULT status = ReadObject(element, object); FAILED(status)) return status;
    VARIANT made{};
    made.vt = type;
    if (type == VT_DISPATCH) {
        auto dispatch = object.As<IDispatch>();
        if (object && !dispatch) return data_->Explain(E_NOINTERFACE, noDispatch);
        made.pdispVal = dispatch.Detach();
    } else {
        made.punkVal = object.Detach();
    }
    item = kv::Variant::Attach(made);
    return S_OK;
}

/// The bounds of an array whose elements are all there. @param items the first element that is not the bounds
HRESULT GraphReader::ReadBounds(Index element, std::vector<SAFEARRAYBOUND>& bounds, Index& items) {
    const Index end = tree_[element].end;
    std::u16string_view text;
    if (items < end && tree_[items].name == xml::boundsName) {
        text = tree_[items].text;
        items = tree_[items].end;
    }
    std::uint64_t count = 0;
    for (Index i = items; i < end; i = tree_[i].end) count += tree_[i].name == xml::itemName ? 1 : 0;
    if (text.empty()) {
        if (count > std::numeric_limits<LONG>::max()) throw std::bad_alloc();
        bounds.push_back({static_cast<ULONG>(count), 0});
        return S_OK;
    }
    std::uint64_t product = 1;
    while (!(text = xml::WithoutBlanks(text)).empty()) {
        LONG lower = 0;
        ULONG length = 0;
        if (!TakeInteger(TakeWord(text), lower) || !TakeInteger(TakeWord(text), length) ||
            std::int64_t{lower} + length > std::numeric_limits<LONG>::max() || bounds.size() == mostDimensions)
            return data_->Explain(E_INVALIDARG, badArray);
        if (length != 0 && product > count / length)
            product = count + 1;
        else
            product *= length;
        bounds.push_back({length, lower});
    }
    return product == count ? S_OK : data_->Explain(E_INVALIDARG, badArray);
}

}  // namespace mova
