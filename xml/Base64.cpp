#include "xml/Base64.h"

#include <algorithm>
#include <array>
#include <cstdint>

#include "xml/XmlValues.h"

namespace xml {
namespace {

constexpr std::string_view alphabet = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
constexpr char16_t padding = u'=';

/// What is counted for a character that is none of the alphabet: it has a bit that no digit has.
constexpr std::uint8_t noDigit = 0x40;
constexpr auto digitOfAscii = [] {
    std::array<std::uint8_t, 128> digits{};
    digits.fill(noDigit);
    for (std::size_t i = 0; i < alphabet.size(); ++i)
        digits[static_cast<unsigned char>(alphabet[i])] = static_cast<std::uint8_t>(i);
    return digits;
}();

std::uint32_t DigitOf(char16_t unit) noexcept {
    return unit < digitOfAscii.size() ? digitOfAscii[unit] : noDigit;
}

/// Writes the first bytes of three.
std::byte* PutBytes(std::byte* out, std::uint32_t three, std::size_t count) noexcept {
    out[0] = static_cast<std::byte>(three >> 16);
    if (count > 1) out[1] = static_cast<std::byte>(three >> 8);
    if (count > 2) out[2] = static_cast<std::byte>(three);
    return out + count;
}

/// Reads whole groups, as long as nothing is between their characters, and moves behind them.
std::byte* ReadGroups(std::byte* out, const char16_t*& from, const char16_t* end) noexcept {
    for (; end - from >= 4; from += 4) {
        if ((from[0] | from[1] | from[2] | from[3]) >= static_cast<int>(digitOfAscii.size())) break;
        const std::uint32_t first = digitOfAscii[from[0]];
        const std::uint32_t second = digitOfAscii[from[1]];
        const std::uint32_t third = digitOfAscii[from[2]];
        const std::uint32_t fourth = digitOfAscii[from[3]];
        if (((first | second | third | fourth) & noDigit) != 0) break;
        out = PutBytes(out, first << 18 | second << 12 | third << 6 | fourth, 3);
    }
    return out;
}

/// Four characters, of which the last may be padding.
struct Group {
    std::uint32_t bits = 0;
    std::size_t digits = 0, paddings = 0;
    bool isBad = false;

    std::size_t Count() const noexcept { return digits + paddings; }
};

/// Takes the characters of the next group, white space between them or not.
Group TakeGroup(const char16_t*& from, const char16_t* end) noexcept {
    Group group;
    for (; from != end && group.Count() < 4; ++from) {
        if (IsBlank(*from)) continue;
        if (*from == padding) {
            ++group.paddings;
            continue;
        }
        const std::uint32_t digit = DigitOf(*from);
        if (digit == noDigit || group.paddings != 0) group.isBad = true;
        group.bits |= digit << (18 - 6 * group.digits++);
    }
    return group;
}

}  // namespace

template <class Unit>
Unit* PutBase64(Unit* out, std::span<const std::byte> bytes) noexcept {
    const auto put = [&](std::uint32_t six) { *out++ = static_cast<Unit>(alphabet[six & 0x3F]); };
    const std::byte* from = bytes.data();
    const std::byte* const wholeEnd = from + bytes.size() / 3 * 3;
    const auto byteAt = [&](std::size_t i) { return std::to_integer<std::uint32_t>(from[i]); };
    for (; from != wholeEnd; from += 3) {
        const std::uint32_t three = byteAt(0) << 16 | byteAt(1) << 8 | byteAt(2);
        for (const int shift : {18, 12, 6, 0}) put(three >> shift);
    }
    const std::size_t left = bytes.size() % 3;
    if (left == 0) return out;
    const std::uint32_t last = byteAt(0) << 16 | (left == 2 ? byteAt(1) << 8 : 0);
    put(last >> 18);
    put(last >> 12);
    if (left == 2) put(last >> 6);
    for (std::size_t i = left; i < 3; ++i) *out++ = static_cast<Unit>(padding);
    return out;
}

template char* PutBase64(char* out, std::span<const std::byte> bytes) noexcept;
template char16_t* PutBase64(char16_t* out, std::span<const std::byte> bytes) noexcept;

std::size_t BytesOfBase64(std::u16string_view text) noexcept {
    text = WithoutBlanks(text);
    const std::size_t digits = text.find_last_not_of(padding) + 1;
    return digits / 4 * 3 + digits % 4 * 3 / 4;
}

std::optional<std::size_t> ReadBase64(std::byte* out, std::u16string_view text) noexcept {
    const std::byte* const begin = out;
    const char16_t* from = text.data();
    const char16_t* const end = from + text.size();
    for (;;) {
        out = ReadGroups(out, from, end);
        const Group group = TakeGroup(from, end);
        if (group.isBad) return {};
        if (group.digits == 4) {
            out = PutBytes(out, group.bits, 3);
        } else if (group.Count() == 0) {
            return static_cast<std::size_t>(out - begin);
        } else {
            if (group.Count() != 4 || group.digits < 2 || !std::all_of(from, end, IsBlank)) return {};
            const std::size_t count = group.digits - 1;
            const bool losesBits = (group.bits & (0xFFFFFF >> (8 * count))) != 0;
            if (losesBits) return {};
            return static_cast<std::size_t>(PutBytes(out, group.bits, count) - begin);
        }
    }
}

}  // namespace xml
