#include "tools/mova/StreamValues.h"

#include <algorithm>
#include <bit>
#include <charconv>
#include <cstring>

#include "kvcore/GuidText.h"
#include "kvcore/Utf.h"
#include "tools/mova/NumberText.h"

namespace mova::tool {
namespace {

constexpr std::size_t shownUnits = 64;
constexpr std::size_t shownDimensions = 8;

constexpr std::array<std::string_view, 24> typeNames = {
    "empty",   "null",    "i2",      "i4", "r4", "r8",  "currency", "date", "str", "dispatch", "error", "bool",
    "variant", "unknown", "decimal", "",   "i1", "ui1", "ui2",      "ui4",  "i8",  "ui8",      "int",   "uint"};

template <class Number>
Number As(const FixedBytes& bytes) noexcept {
    Number number;
    std::memcpy(&number, bytes.data(), sizeof number);
    return number;
}

/// A whole number, its last digit first, with a point before so many digits.
void AppendPointed(std::string& out, bool negative, std::string reversed, std::size_t scale) {
    if (reversed.size() <= scale) reversed.append(scale + 1 - reversed.size(), '0');
    if (scale != 0) reversed.insert(scale, 1, '.');
    if (negative) out += '-';
    out.append(reversed.rbegin(), reversed.rend());
}

void AppendCurrency(std::string& out, std::int64_t amount) {
    const auto bits = static_cast<std::uint64_t>(amount);
    std::string digits;
    AppendNumber(digits, amount < 0 ? 0 - bits : bits);
    std::reverse(digits.begin(), digits.end());
    AppendPointed(out, amount < 0, std::move(digits), 4);
}

void AppendDecimal(std::string& out, const FixedBytes& bytes) {
    auto words = std::bit_cast<std::array<std::uint32_t, 4>>(bytes);
    std::array<std::uint32_t, 3> digits = {words[1], words[3], words[2]};  // the highest 32 bits stand before the rest
    std::string reversed;
    do {
        std::uint64_t rest = 0;
        for (std::uint32_t& part : digits) {
            rest = rest << 32 | part;
            part = static_cast<std::uint32_t>(rest / 10);
            rest %= 10;
        }
        reversed += static_cast<char>('0' + rest);
    } while (digits != std::array<std::uint32_t, 3>{});
    AppendPointed(out, bytes[3] != std::byte{0}, std::move(reversed), std::to_integer<std::size_t>(bytes[2]));
}

void AppendBoolean(std::string& out, std::int16_t value) {
    if (value == 0) {
        out += "false";
    } else if (value == -1) {
        out += "true";
    } else {
        AppendNumber(out, value);
    }
}

}  // namespace

std::string_view NameOf(kv::ValueType type) noexcept {
    return typeNames[static_cast<std::size_t>(type)];
}

void AppendHex(std::string& out, std::uint64_t number) {
    std::array<char, 16> text;
    char* const end = std::to_chars(text.data(), text.data() + text.size(), number, 16).ptr;
    out.append(8 - std::min<std::size_t>(8, static_cast<std::size_t>(end - text.data())), '0');
    std::transform(text.data(), end, text.data(), [](char c) { return c >= 'a' ? static_cast<char>(c - 0x20) : c; });
    out.append(text.data(), end);
}

void AppendFixed(std::string& out, kv::ValueType type, const FixedBytes& bytes) {
    using enum kv::ValueType;
    switch (type) {
        case i1:
            return AppendNumber(out, int{As<std::int8_t>(bytes)});
        case ui1:
            return AppendNumber(out, int{As<std::uint8_t>(bytes)});
        case i2:
            return AppendNumber(out, As<std::int16_t>(bytes));
        case ui2:
            return AppendNumber(out, As<std::uint16_t>(bytes));
        case i4:
        case integer:
            return AppendNumber(out, As<std::int32_t>(bytes));
        case ui4:
        case uinteger:
            return AppendNumber(out, As<std::uint32_t>(bytes));
        case i8:
            return AppendNumber(out, As<std::int64_t>(bytes));
        case ui8:
            return AppendNumber(out, As<std::uint64_t>(bytes));
        case r4:
            return AppendNumber(out, As<float>(bytes));
        case r8:
        case date:
            return AppendNumber(out, As<double>(bytes));
        case currency:
            return AppendCurrency(out, As<std::int64_t>(bytes));
        case decimal:
            return AppendDecimal(out, bytes);
        case boolean:
            return AppendBoolean(out, As<std::int16_t>(bytes));
        default:
            out += "0x";
            AppendHex(out, As<std::uint32_t>(bytes));
    }
}

void AppendText(std::string& out, std::span<const std::byte> bytes) {
    const std::size_t length = bytes.size() / sizeof(char16_t);
    std::array<char16_t, shownUnits> units;
    std::size_t shown = std::min(length, units.size());
    if (shown != 0) std::memcpy(units.data(), bytes.data(), shown * sizeof(char16_t));
    if (shown < length && (units.back() & 0xFC00) == 0xD800) --shown;  // the first half of a character
    kv::AppendQuoted(out, {units.data(), shown});
    if (shown < length) {
        out += "... of ";
        AppendNumber(out, length);
        out += " units";
    }
    if (bytes.size() % sizeof(char16_t) != 0) out += " and a byte";
}

void AppendGuid(std::string& out, const kv::IdBits& id) {
    for (const char16_t c : kv::FormatGuid(id)) out += static_cast<char>(c);
}

void AppendBounds(std::string& out, std::span<const kv::ArrayBound> bounds) {
    std::size_t left = bounds.size();
    for (; left != 0 && bounds.size() - left < shownDimensions; --left) {  // the first dimension stands last
        const kv::ArrayBound& bound = bounds[left - 1];
        out += '[';
        AppendNumber(out, bound.count);
        if (bound.lower != 0) {
            out += " from ";
            AppendNumber(out, bound.lower);
        }
        out += ']';
    }
    if (left == 0) return;
    out += "[... ";
    AppendNumber(out, left);
    out += " more]";
}

}  // namespace mova::tool
