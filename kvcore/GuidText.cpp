#include "kvcore/GuidText.h"

namespace kv {
namespace {

constexpr std::u16string_view digits = u"0123456789ABCDEF";
/// A digit stands for one of the byte with its number: the first for the upper half, the second for the lower.
constexpr std::u16string_view layout = u"{33221100-5544-7766-8899-AABBCCDDEEFF}";
static_assert(layout.size() == guidTextLength);

using Bytes = std::array<std::uint8_t, sizeof(IdBits)>;

/// What a hexadecimal digit counts; above 15 for any other character.
constexpr unsigned DigitValue(char16_t c) noexcept {
    if (c >= u'0' && c <= u'9') return c - u'0';
    const auto lower = static_cast<char16_t>(c | 0x20);
    return lower >= u'a' && lower <= u'f' ? lower - u'a' + 10u : 16u;
}

}  // namespace

std::array<char16_t, guidTextLength> FormatGuid(const IdBits& id) noexcept {
    const auto bytes = std::bit_cast<Bytes>(id);
    std::array<char16_t, guidTextLength> text;
    bool upperHalf = true;
    for (std::size_t i = 0; i < text.size(); ++i) {
        const unsigned place = DigitValue(layout[i]);
        if (place < bytes.size()) {
            text[i] = digits[upperHalf ? bytes[place] >> 4 : bytes[place] & 0xF];
            upperHalf = !upperHalf;
        } else {
            text[i] = layout[i];
        }
    }
    return text;
}

std::optional<IdBits> ParseGuid(std::u16string_view text) noexcept {
    const auto expected = text.starts_with(u'{') ? layout : layout.substr(1, layout.size() - 2);
    if (text.size() != expected.size()) return {};
    Bytes bytes{};
    for (std::size_t i = 0; i < text.size(); ++i) {
        const unsigned place = DigitValue(expected[i]);
        const unsigned digit = DigitValue(text[i]);
        if (place < bytes.size()) {
            if (digit > 15) return {};
            bytes[place] = static_cast<std::uint8_t>(bytes[place] * 16u + digit);
        } else if (text[i] != expected[i]) {
            return {};
        }
    }
    return std::bit_cast<IdBits>(bytes);
}

}  // namespace kv
