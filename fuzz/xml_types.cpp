// What texts of XML's values, names and documents read as is written to a text that reads as the same.
#include <array>
#include <cmath>
#include <string>
#include <vector>

#include "fuzz/Input.h"
#include "kvcore/GuidText.h"
#include "kvcore/NumberText.h"
#include "kvcore/Utf.h"
#include "xml/Base64.h"
#include "xml/DocumentText.h"
#include "xml/XmlNames.h"
#include "xml/XmlValues.h"

namespace {

/// Reads a value, writes it and reads that.
template <class Read, class Format>
void CheckValue(std::u16string_view text, Read read, Format format, const char* property) {
    const auto value = read(text);
    if (!value) return;
    std::array<char, kv::numberTextSize> room;
    const char* const end = format(room.data(), *value);
    const auto again = read(kv::Utf16({room.data(), end}));
    fuzz::Require(again.has_value(), property);
    using Value = std::remove_cvref_t<decltype(*value)>;
    if constexpr (std::is_floating_point_v<Value>) {
        fuzz::Require(*again == *value || (std::isnan(*again) && std::isnan(*value)), property);
    } else {
        fuzz::Require(*again == *value, property);
    }
}

void CheckNumbers(std::u16string_view text) {
    CheckValue(text, xml::ReadDouble, kv::FormatShortest, "doubles");
    CheckValue(text, xml::ReadFloat, kv::FormatFloat, "floats");
    CheckValue(text, xml::ReadDate, xml::FormatDate, "dates");
    CheckValue(text, xml::ReadCurrency, kv::FormatCurrency, "amounts");
    CheckValue(
        text, xml::ReadDecimal,
        [](char* out, const xml::Decimal& number) {
            return kv::FormatDecimal(out, number.high, number.low, number.scale, number.isNegative);
        },
        "decimal numbers");
    const auto readSigned = [](std::u16string_view t) { return xml::ReadInteger(t, INT64_MIN, INT64_MAX); };
    const auto readUnsigned = [](std::u16string_view t) { return xml::ReadUnsigned(t, UINT64_MAX); };
    CheckValue(text, readSigned, kv::FormatInt64, "integers");
    CheckValue(text, readUnsigned, kv::FormatUInt64, "integers from 0 on");
    const auto number = readSigned(text);
    const auto from0 = readUnsigned(text);
    fuzz::Require(!number || *number < 0 || from0 == static_cast<std::uint64_t>(*number), "both read integers alike");
    fuzz::Require(
        xml::ReadInteger(text, -128, 127) == (number && *number >= -128 && *number < 128 ? number : std::nullopt),
        "a range is what it says");
    const auto decimal = xml::ReadDecimal(text);
    fuzz::Require(!number || decimal.has_value(), "integers are decimal numbers");
    fuzz::Require(!decimal || xml::ReadDouble(text).has_value(), "decimal numbers are doubles");
}

void CheckBytes(std::u16string_view text) {
    std::vector<std::byte> bytes(xml::BytesOfBase64(text));
    if (const auto count = xml::ReadBase64(bytes.data(), text)) {
        bytes.resize(*count);
        std::u16string again(xml::Base64Size(bytes.size()), u'?');
        xml::PutBase64(again.data(), bytes);
        std::u16string dense(text);
        std::erase_if(dense, xml::IsBlank);
        fuzz::Require(again == dense, "base64 has one text for bytes");
    }
    bytes.assign(text.size() / 2, {});
    if (const auto count = xml::ReadHex(bytes.data(), text)) {
        bytes.resize(*count);
        std::u16string again(2 * bytes.size(), u'?');
        xml::PutHex(again.data(), bytes);
        std::u16string upper(xml::WithoutBlanks(text));
        for (char16_t& unit : upper) unit = unit >= u'a' ? static_cast<char16_t>(unit - 0x20) : unit;
        fuzz::Require(again == upper, "hexadecimal digits stay");
    }
}

void CheckNames(std::u16string_view text) {
    std::u16string name;
    xml::AppendEncodedName(name, text);
    fuzz::Require(xml::IsName(name), "an encoded name is a name");
    std::u16string again;
    xml::AppendDecodedName(again, name);
    fuzz::Require(again == text, "a name decodes to what it was made of");
    if (const auto parts = xml::SplitName(text)) {
        fuzz::Require(xml::IsName(parts->local) && (parts->prefix.empty() || xml::IsName(parts->prefix)),
                      "both are names");
        fuzz::Require(parts->local.size() + parts->prefix.size() + (parts->prefix.empty() ? 0 : 1) == text.size(),
                      "nothing is lost but the colon");
    }
    if (const auto id = xml::ReadGuid(text)) {
        const auto written = kv::FormatGuid(*id);
        fuzz::Require(xml::ReadGuid({written.data(), written.size()}) == id, "identifiers");
    }
}

void CheckDocument(std::u16string_view text, std::string_view raw) {
    const auto comesBack = [](std::u16string_view document) {
        const std::string bytes = xml::BytesOfDocument(document);
        std::u16string whole = kv::Utf16(kv::Utf8(document));
        if (whole.starts_with(u'\uFEFF')) whole.erase(0, 1);
        return xml::TextOfDocument(std::as_bytes(std::span(bytes))) == whole;
    };
    fuzz::Require(comesBack(text), "a document comes back");
    const auto read = xml::TextOfDocument(std::as_bytes(std::span(raw)));
    fuzz::Require(!read || comesBack(*read), "what was read comes back");
}

}  // namespace

// The first byte says whether the rest is UTF-8 or units as they stand.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size == 0) return 0;
    const std::string_view raw = fuzz::Text(data + 1, size - 1);
    std::u16string text;
    if (data[0] % 2 == 0) {
        text = kv::Utf16(raw);
    } else {
        fuzz::Input input(data + 1, size - 1);
        while (!input.IsEmpty()) text += static_cast<char16_t>(input.Word());
    }
    CheckNumbers(text);
    CheckBytes(text);
    CheckNames(text);
    CheckDocument(text, raw);
    return 0;
}
