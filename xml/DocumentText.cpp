#include "xml/DocumentText.h"

#include <algorithm>
#include <bit>
#include <cstring>

#include "kvcore/Utf.h"
#include "kvcore/Utf8.h"
#include "xml/XmlValues.h"

namespace xml {
namespace {

static_assert(std::endian::native == std::endian::little);

constexpr char16_t mark = u'\uFEFF';
constexpr std::string_view utf8Mark = "\xEF\xBB\xBF";
constexpr std::string_view littleMark = "\xFF\xFE";
constexpr std::string_view bigMark = "\xFE\xFF";

/// Whether two names of encodings are the same but for case. @param known in lower case
bool IsEncoding(std::u16string_view name, std::u16string_view known) noexcept {
    return std::equal(name.begin(), name.end(), known.begin(), known.end(), [](char16_t unit, char16_t lower) {
        return (unit >= u'A' && unit <= u'Z' ? unit | 0x20 : unit) == lower;
    });
}

/// What is between quotation marks at the front of a text, or between apostrophes.
std::optional<std::u16string_view> QuotedIn(std::u16string_view text) noexcept {
    if (text.empty() || (text.front() != u'"' && text.front() != u'\'')) return {};
    const std::size_t end = text.find(text.front(), 1);
    if (end == std::u16string_view::npos) return {};
    return text.substr(1, end - 1);
}

void SwapBytes(std::span<char16_t> units) noexcept {
    for (char16_t& unit : units) unit = static_cast<char16_t>(unit << 8 | unit >> 8);
}

/// UTF-16 behind its mark. @param text whole characters
std::string Utf16Bytes(std::u16string text, bool isBig) {
    if (isBig) SwapBytes(text);
    std::string bytes(isBig ? bigMark : littleMark);
    bytes.append(reinterpret_cast<const char*>(text.data()), text.size() * sizeof(char16_t));
    return bytes;
}

bool HasLoneSurrogates(std::u16string_view text) noexcept {
    for (std::size_t i = 0; i < text.size(); ++i) {
        if ((text[i] & 0xF800) != 0xD800) continue;
        if ((text[i] & 0x0400) != 0 || i + 1 == text.size() || (text[i + 1] & 0xFC00) != 0xDC00) return true;
        ++i;
    }
    return false;
}

std::optional<std::u16string> FromUtf16(std::span<const std::byte> bytes, bool isBig) {
    if (bytes.size() % sizeof(char16_t) != 0) return {};
    std::u16string text(bytes.size() / sizeof(char16_t), u'\0');
    if (!bytes.empty()) std::memcpy(text.data(), bytes.data(), bytes.size());
    if (isBig) SwapBytes(text);
    if (HasLoneSurrogates(text)) return {};
    return text;
}

std::optional<std::u16string> FromUtf8(std::span<const std::byte> bytes) {
    std::u16string text(bytes.size(), u'\0');
    const auto units = kv::DecodeUtf8(bytes, text.data());
    if (!units) return {};
    text.resize(*units);
    return text;
}

}  // namespace

std::u16string_view DeclaredEncoding(std::u16string_view text) noexcept {
    constexpr std::u16string_view start = u"<?xml";
    constexpr std::u16string_view word = u"encoding";
    if (!text.starts_with(start) || text.size() == start.size() || !IsBlank(text[start.size()])) return {};
    const std::size_t end = text.find(u"?>");
    if (end == std::u16string_view::npos) return {};
    text = text.substr(start.size(), end - start.size());
    // Word by word: none of the others has one of these names in its value.
    while (!(text = WithoutBlanks(text)).empty()) {
        const std::size_t equals = text.find(u'=');
        if (equals == std::u16string_view::npos) return {};
        const std::u16string_view name = WithoutBlanks(text.substr(0, equals));
        text = WithoutBlanks(text.substr(equals + 1));
        const auto value = QuotedIn(text);
        if (!value) return {};
        if (name == word) return *value;
        text.remove_prefix(value->size() + 2);
    }
    return {};
}

std::string BytesOfDocument(std::u16string_view text) {
    bool isMarked = text.starts_with(mark);
    if (isMarked) text.remove_prefix(1);
    const std::u16string_view encoding = DeclaredEncoding(text);
    const bool isBig = IsEncoding(encoding, u"utf-16be");
    std::string bytes = kv::Utf8(text);
    if (isBig || IsEncoding(encoding, u"utf-16") || IsEncoding(encoding, u"utf-16le"))
        return Utf16Bytes(kv::Utf16(bytes), isBig);
    isMarked |= !encoding.empty() && !IsEncoding(encoding, u"utf-8");
    if (isMarked) bytes.insert(0, utf8Mark);
    return bytes;
}

std::optional<std::u16string> TextOfDocument(std::span<const std::byte> bytes) {
    const auto begins = [&](std::string_view with) {
        return bytes.size() >= with.size() && std::memcmp(bytes.data(), with.data(), with.size()) == 0;
    };
    if (begins(utf8Mark)) return FromUtf8(bytes.subspan(utf8Mark.size()));
    if (begins(littleMark)) return FromUtf16(bytes.subspan(littleMark.size()), false);
    if (begins(bigMark)) return FromUtf16(bytes.subspan(bigMark.size()), true);
    return FromUtf8(bytes);
}

}  // namespace xml
