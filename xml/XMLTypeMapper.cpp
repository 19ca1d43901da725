#include "xml/XMLTypeMapper.h"

#include <algorithm>
#include <array>
#include <bit>
#include <limits>

#include "kvcore/BString.h"
#include "kvcore/Guid.h"
#include "kvcore/NumberText.h"
#include "kvcore/NumberValue.h"
#include "xml/Base64.h"
#include "xml/ByteArrays.h"
#include "xml/XmlNames.h"
#include "xml/XmlValues.h"

namespace mova {
namespace {

static_assert(xml::dateTextSize <= kv::numberTextSize);

constexpr auto noNumber = u"The text is not a number.";
constexpr auto noInteger = u"The text is not an integer of this size.";
constexpr auto noBoolean = u"The text is not a boolean.";
constexpr auto noDate = u"The text is not a date of the years 100 to 9999.";
constexpr auto noAmount = u"The text is not an amount with four decimals at most.";
constexpr auto noDecimal = u"The text is not a decimal number of 96 bits with 28 decimals at most.";
constexpr auto badDecimal = u"The structure is not a decimal number.";
constexpr auto noBase64 = u"The text is not base64.";
constexpr auto noHex = u"The text is not pairs of hexadecimal digits.";
constexpr auto noGuid = u"The text is not a GUID.";
constexpr auto badTypeName = u"A type must have a name without a colon.";
constexpr auto nullClass = u"A type cannot stand for the null GUID.";
constexpr auto otherClass = u"The type stands for another class.";
constexpr auto ownType = u"The types of the library are not removed.";
constexpr auto noSuchIndex = u"The index is outside the types.";

template <class Integer>
std::optional<std::int64_t> ReadInteger(BSTR text) noexcept {
    return xml::ReadInteger(kv::View(text), std::numeric_limits<Integer>::min(), std::numeric_limits<Integer>::max());
}

kv::BString TextOf(const kv::IdBits& id) {
    const auto text = kv::FormatGuid(id);
    return kv::BString({text.data(), text.size()});
}

xml::TypeName TypeOf(BSTR name, BSTR namespaceURI) noexcept {
    return {kv::View(name), kv::View(namespaceURI)};
}

}  // namespace

template <class Interface, class Value, class Read>
HRESULT XMLTypeMapper::HandOut(Value* value, const Read& read, const char16_t* reason) const noexcept {
    if (!value) return Refuse(E_POINTER);
    *value = read ? static_cast<Value>(*read) : Value{};
    return read ? S_OK : Refuse<Interface>(E_INVALIDARG, reason);
}

template <class Format>
HRESULT XMLTypeMapper::HandOutText(BSTR* text, Format format) const noexcept try {
    if (!text) return Refuse(E_POINTER);
    *text = nullptr;
    std::array<char, kv::numberTextSize> bytes;
    const char* const end = format(bytes.data());
    if (!end) return Refuse<IXMLTypeMapper>(E_INVALIDARG, xml::noDateText);
    std::array<char16_t, kv::numberTextSize> units;
    const auto unitsEnd = std::copy(static_cast<const char*>(bytes.data()), end, units.begin());
    *text = kv::BString({units.begin(), unitsEnd}).Detach();
    return S_OK;
} catch (...) {
    return CaughtStatus();
}

STDMETHODIMP XMLTypeMapper::TextToDouble(BSTR text, DOUBLE* number) noexcept {
    return HandOut(number, xml::ReadDouble(kv::View(text)), noNumber);
}

STDMETHODIMP XMLTypeMapper::DoubleToText(DOUBLE number, BSTR* text) noexcept {
    return HandOutText(text, [&](char* out) { return kv::FormatShortest(out, number); });
}

STDMETHODIMP XMLTypeMapper::TextToFloat(BSTR text, FLOAT* number) noexcept {
    return HandOut(number, xml::ReadFloat(kv::View(text)), noNumber);
}

STDMETHODIMP XMLTypeMapper::FloatToText(FLOAT number, BSTR* text) noexcept {
    return HandOutText(text, [&](char* out) { return kv::FormatFloat(out, number); });
}

STDMETHODIMP XMLTypeMapper::TextToShort(BSTR text, SHORT* number) noexcept {
    return HandOut(number, ReadInteger<SHORT>(text), noInteger);
}

STDMETHODIMP XMLTypeMapper::ShortToText(SHORT number, BSTR* text) noexcept {
    return Int64ToText(number, text);
}

STDMETHODIMP XMLTypeMapper::TextToLong(BSTR text, LONG* number) noexcept {
    return HandOut(number, ReadInteger<LONG>(text), noInteger);
}

STDMETHODIMP XMLTypeMapper::LongToText(LONG number, BSTR* text) noexcept {
    return Int64ToText(number, text);
}

STDMETHODIMP XMLTypeMapper::TextToInt64(BSTR text, LONGLONG* number) noexcept {
    return HandOut(number, ReadInteger<LONGLONG>(text), noInteger);
}

STDMETHODIMP XMLTypeMapper::Int64ToText(LONGLONG number, BSTR* text) noexcept {
    return HandOutText(text, [&](char* out) { return kv::FormatInt64(out, number); });
}

STDMETHODIMP XMLTypeMapper::TextToBoolean(BSTR text, VARIANT_BOOL* flag) noexcept {
    const auto value = xml::ReadBoolean(kv::View(text));
    std::optional<VARIANT_BOOL> answer;
    if (value) answer = *value ? VARIANT_TRUE : VARIANT_FALSE;
    return HandOut(flag, answer, noBoolean);
}

STDMETHODIMP XMLTypeMapper::BooleanToText(VARIANT_BOOL flag, BSTR* text) noexcept {
    const std::string_view word = flag ? "true" : "false";
    return HandOutText(text, [&](char* out) { return std::copy(word.begin(), word.end(), out); });
}

STDMETHODIMP XMLTypeMapper::TextToDate(BSTR text, DATE* date) noexcept {
    return HandOut(date, xml::ReadDate(kv::View(text)), noDate);
}

STDMETHODIMP XMLTypeMapper::DateToText(DATE date, BSTR* text) noexcept {
    return HandOutText(text, [&](char* out) { return xml::FormatDate(out, date); });
}

// ---- The further values

template <class Integer>
HRESULT XMLTypeMapper::HandOutUnsigned(BSTR text, Integer* number) const noexcept {
    const auto read = xml::ReadUnsigned(kv::View(text), std::numeric_limits<Integer>::max());
    return HandOut<IXMLTypeMapper2>(number, read, noInteger);
}

STDMETHODIMP XMLTypeMapper::TextToSByte(BSTR text, CHAR* number) noexcept {
    return HandOut<IXMLTypeMapper2>(number, ReadInteger<signed char>(text), noInteger);
}

STDMETHODIMP XMLTypeMapper::SByteToText(CHAR number, BSTR* text) noexcept {
    return Int64ToText(static_cast<signed char>(number), text);
}

STDMETHODIMP XMLTypeMapper::TextToByte(BSTR text, BYTE* number) noexcept {
    return HandOutUnsigned(text, number);
}

STDMETHODIMP XMLTypeMapper::ByteToText(BYTE number, BSTR* text) noexcept {
    return UInt64ToText(number, text);
}

STDMETHODIMP XMLTypeMapper::TextToUShort(BSTR text, USHORT* number) noexcept {
    return HandOutUnsigned(text, number);
}

STDMETHODIMP XMLTypeMapper::UShortToText(USHORT number, BSTR* text) noexcept {
    return UInt64ToText(number, text);
}

STDMETHODIMP XMLTypeMapper::TextToULong(BSTR text, ULONG* number) noexcept {
    return HandOutUnsigned(text, number);
}

STDMETHODIMP XMLTypeMapper::ULongToText(ULONG number, BSTR* text) noexcept {
    return UInt64ToText(number, text);
}

STDMETHODIMP XMLTypeMapper::TextToUInt64(BSTR text, ULONGLONG* number) noexcept {
    return HandOutUnsigned(text, number);
}

STDMETHODIMP XMLTypeMapper::UInt64ToText(ULONGLONG number, BSTR* text) noexcept {
    return HandOutText(text, [&](char* out) { return kv::FormatUInt64(out, number); });
}

STDMETHODIMP XMLTypeMapper::TextToCurrency(BSTR text, CY* amount) noexcept {
    return HandOut<IXMLTypeMapper2>(amount ? &amount->int64 : nullptr, xml::ReadCurrency(kv::View(text)), noAmount);
}

STDMETHODIMP XMLTypeMapper::CurrencyToText(CY amount, BSTR* text) noexcept {
    return HandOutText(text, [&](char* out) { return kv::FormatCurrency(out, amount.int64); });
}

STDMETHODIMP XMLTypeMapper::TextToDecimal(BSTR text, DECIMAL* number) noexcept {
    if (!number) return Refuse(E_POINTER);
    const auto read = xml::ReadDecimal(kv::View(text));
    const xml::Decimal decimal = read.value_or(xml::Decimal{});
    kv::SetDecimal(*number, decimal.high, decimal.low, decimal.scale, decimal.isNegative);
    return read ? S_OK : Refuse<IXMLTypeMapper2>(E_INVALIDARG, noDecimal);
}

STDMETHODIMP XMLTypeMapper::DecimalToText(DECIMAL number, BSTR* text) noexcept {
    if (!text) return Refuse(E_POINTER);
    *text = nullptr;
    if (number.scale > kv::greatestScale || (number.sign & ~DECIMAL_NEG) != 0)
        return Refuse<IXMLTypeMapper2>(E_INVALIDARG, badDecimal);
    return HandOutText(text, [&](char* out) { return kv::FormatDecimal(out, number); });
}

template <class Read>
HRESULT XMLTypeMapper::HandOutBytes(std::u16string_view text, std::size_t most, VARIANT* bytes, Read read,
                                    const char16_t* reason) const noexcept try {
    if (!bytes) return Refuse(E_POINTER);
    VariantInit(bytes);
    auto made = ReadBytes(text, most, read);
    if (!made) return Refuse<IXMLTypeMapper2>(E_INVALIDARG, reason);
    *bytes = made->Detach();
    return S_OK;
} catch (...) {
    return CaughtStatus();
}

template <class Size, class Put>
HRESULT XMLTypeMapper::HandOutTextOf(const VARIANT& bytes, BSTR* text, Size size, Put put) const noexcept try {
    if (!text) return Refuse(E_POINTER);
    *text = nullptr;
    const auto found = BytesIn(bytes);
    if (!found) return Refuse<IXMLTypeMapper2>(E_INVALIDARG, noBytes);
    auto made = kv::BString::OfLength(size(found->size()));
    put(made.Units(), *found);
    *text = made.Detach();
    return S_OK;
} catch (...) {
    return CaughtStatus();
}

STDMETHODIMP XMLTypeMapper::TextToBytes(BSTR text, VARIANT* bytes) noexcept {
    const std::u16string_view view = kv::View(text);
    return HandOutBytes(view, xml::BytesOfBase64(view), bytes, xml::ReadBase64, noBase64);
}

STDMETHODIMP XMLTypeMapper::BytesToText(VARIANT bytes, BSTR* text) noexcept {
    return HandOutTextOf(bytes, text, xml::Base64Size, xml::PutBase64<char16_t>);
}

STDMETHODIMP XMLTypeMapper::HexToBytes(BSTR text, VARIANT* bytes) noexcept {
    const std::u16string_view view = xml::WithoutBlanks(kv::View(text));
    return HandOutBytes(view, view.size() / 2, bytes, xml::ReadHex, noHex);
}

STDMETHODIMP XMLTypeMapper::BytesToHex(VARIANT bytes, BSTR* text) noexcept {
    return HandOutTextOf(
        bytes, text, [](std::size_t count) { return count * 2; }, xml::PutHex);
}

STDMETHODIMP XMLTypeMapper::TextToGUID(BSTR text, GUID* identifier) noexcept {
    if (!identifier) return Refuse(E_POINTER);
    const auto read = xml::ReadGuid(kv::View(text));
    *identifier = std::bit_cast<GUID>(read.value_or(kv::IdBits{}));
    return read ? S_OK : Refuse<IXMLIdentifierText>(E_INVALIDARG, noGuid);
}

STDMETHODIMP XMLTypeMapper::GUIDToText(const GUID* identifier, BSTR* text) noexcept try {
    if (text) *text = nullptr;
    if (!identifier || !text) return Refuse(E_POINTER);
    *text = TextOf(kv::BitsOf(*identifier)).Detach();
    return S_OK;
} catch (...) {
    return CaughtStatus();
}

// ---- The types

STDMETHODIMP XMLTypeMapper::AddType(BSTR name, BSTR namespaceURI, BSTR classIdentifier) noexcept try {
    const xml::TypeName type = TypeOf(name, namespaceURI);
    if (!xml::IsName(type.name)) return Refuse<IXMLTypeMapper2>(E_INVALIDARG, badTypeName);
    const auto identifier = xml::ReadGuid(kv::View(classIdentifier));
    if (!identifier) return Refuse<IXMLTypeMapper2>(E_INVALIDARG, noGuid);
    if (*identifier == kv::IdBits{}) return Refuse<IXMLTypeMapper2>(E_INVALIDARG, nullClass);
    const bool isThere = types_.FindClass(type).has_value();
    if (!types_.Add(type, *identifier)) return Refuse<IXMLTypeMapper2>(E_INVALIDARG, otherClass);
    return isThere ? S_FALSE : S_OK;
} catch (...) {
    return CaughtStatus();
}

STDMETHODIMP XMLTypeMapper::RemoveType(BSTR name, BSTR namespaceURI) noexcept {
    switch (types_.Remove(TypeOf(name, namespaceURI))) {
        case xml::TypeMap::Removal::Removed:
            return S_OK;
        case xml::TypeMap::Removal::NotThere:
            return S_FALSE;
        default:
            return Refuse<IXMLTypeMapper2>(E_INVALIDARG, ownType);
    }
}

STDMETHODIMP XMLTypeMapper::FindClass(BSTR name, BSTR namespaceURI, BSTR* classIdentifier) noexcept try {
    if (!classIdentifier) return Refuse(E_POINTER);
    *classIdentifier = nullptr;
    const auto found = types_.FindClass(TypeOf(name, namespaceURI));
    if (!found) return S_FALSE;
    *classIdentifier = TextOf(*found).Detach();
    return S_OK;
} catch (...) {
    return CaughtStatus();
}

STDMETHODIMP XMLTypeMapper::FindType(BSTR classIdentifier, BSTR* name, BSTR* namespaceURI) noexcept try {
    if (name) *name = nullptr;
    if (namespaceURI) *namespaceURI = nullptr;
    if (!name || !namespaceURI) return Refuse(E_POINTER);
    const auto identifier = xml::ReadGuid(kv::View(classIdentifier));
    if (!identifier) return Refuse<IXMLTypeMapper2>(E_INVALIDARG, noGuid);
    const auto found = types_.FindType(*identifier);
    if (!found) return S_FALSE;
    kv::BString nameText(found->name);
    *namespaceURI = kv::BString(found->uri).Detach();
    *name = nameText.Detach();
    return S_OK;
} catch (...) {
    return CaughtStatus();
}

STDMETHODIMP XMLTypeMapper::get_TypeCount(LONG* typeCount) noexcept {
    if (!typeCount) return Refuse(E_POINTER);
    *typeCount = static_cast<LONG>(types_.Count());
    return S_OK;
}

STDMETHODIMP XMLTypeMapper::GetType(LONG index, BSTR* name, BSTR* namespaceURI, BSTR* classIdentifier) noexcept try {
    for (BSTR* const text : {name, namespaceURI, classIdentifier})
        if (text) *text = nullptr;
    if (!name || !namespaceURI || !classIdentifier) return Refuse(E_POINTER);
    if (index < 0 || static_cast<std::size_t>(index) >= types_.Count())
        return Refuse<IXMLTypeMapper2>(E_INVALIDARG, noSuchIndex);
    const auto [type, identifier] = types_.At(static_cast<std::size_t>(index));
    kv::BString nameText(type.name);
    kv::BString uriText(type.uri);
    *classIdentifier = TextOf(identifier).Detach();
    *name = nameText.Detach();
    *namespaceURI = uriText.Detach();
    return S_OK;
} catch (...) {
    return CaughtStatus();
}

}  // namespace mova
