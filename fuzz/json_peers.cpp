// RapidJSON and JSON for Modern C++ load what the object model loads, with the same values, once everything that only
// this reader takes is spelled as JSON has it. docs/json.md lists these liberties; each has its function here.
#include <rapidjson/memorystream.h>
#include <rapidjson/reader.h>
#include <nlohmann/json.hpp>

#include <array>
#include <set>
#include <vector>

#include "fuzz/Documents.h"
#include "fuzz/Input.h"
#include "json/Space.h"
#include "kvcore/Utf.h"

namespace {

using fuzz::Compared;
using fuzz::Require;

constexpr std::size_t npos = std::string_view::npos;

// Liberties: what this reader takes in place of JSON. Each answers how JSON spells it, or the text itself.

constexpr std::u16string_view jsonSpace = u" \t\n\r";

bool IsAnyOf(char16_t unit, std::u16string_view units) {
    return units.find(unit) != npos;
}

bool IsHexadecimal(std::u16string_view text) {
    return text.find_first_not_of(u"0123456789abcdefABCDEF") == npos;
}

void PutEscapedUnit(std::u16string& out, char16_t unit) {
    constexpr std::u16string_view digits = u"0123456789abcdef";
    out += u"\\u";
    for (int shift = 12; shift >= 0; shift -= 4) out += digits[static_cast<std::size_t>(unit >> shift & 15)];
}

/// White space is what the platform calls so, not the four characters of JSON alone.
std::u16string StrictSpace(std::u16string_view space) {
    return space.find_first_not_of(jsonSpace) == npos ? std::u16string(space) : u" ";
}

/// Single quotes stand around strings, too; within them a double quote needs no backslash.
std::u16string StrictQuotes(std::u16string_view string) {
    if (string.front() == u'"') return std::u16string(string);
    std::u16string out = u"\"";
    for (std::size_t i = 1; i + 1 < string.size(); ++i) {
        if (string[i] == u'\\') {
            out += string[i];
            out += string[++i];
        } else {
            if (string[i] == u'"') out += u'\\';
            out += string[i];
        }
    }
    return out + u'"';
}

/// Control characters stand in strings as they are.
std::u16string StrictControls(std::u16string_view string) {
    std::u16string out;
    bool isEscaped = false;
    for (const char16_t unit : string) {
        if (unit < u' ') {
            if (isEscaped) out.pop_back();  // an unknown escape, for which the control character stands
            PutEscapedUnit(out, unit);
        } else {
            out += unit;
        }
        isEscaped = !isEscaped && unit == u'\\';
    }
    return out;
}

/// A backslash before a character that JSON knows no escape of, or before a u without four digits, means nothing.
std::u16string StrictEscapes(std::u16string_view string) {
    std::u16string out;
    for (std::size_t i = 0; i < string.size(); ++i) {
        if (string[i] != u'\\') {
            out += string[i];
            continue;
        }
        const char16_t letter = string[++i];
        const bool isKnown = IsAnyOf(letter, u"\"\\/bfnrt") ||
                             (letter == u'u' && i + 5 < string.size() && IsHexadecimal(string.substr(i + 1, 4)));
        if (isKnown) out += u'\\';
        out += letter;
    }
    return out;
}

/// The unit that an escape with four digits stands for; nothing for anything else.
std::optional<char16_t> EscapedUnit(std::u16string_view text) {
    if (text.size() < 6 || text[0] != u'\\' || text[1] != u'u') return {};
    return static_cast<char16_t>(std::stoi(kv::Utf8(text.substr(2, 4)), nullptr, 16));
}
bool IsHigh(std::optional<char16_t> unit) {
    return unit && (*unit & 0xFC00) == 0xD800;
}
bool IsLow(std::optional<char16_t> unit) {
    return unit && (*unit & 0xFC00) == 0xDC00;
}

/// Half a surrogate pair may be escaped. No peer can hold one: for comparing it is U+FFFD.
std::u16string StrictSurrogates(std::u16string_view string) {
    std::u16string out;
    for (std::size_t i = 0; i < string.size(); ++i) {
        if (string[i] != u'\\') {
            out += string[i];
            continue;
        }
        const auto unit = EscapedUnit(string.substr(i));
        std::size_t length = unit ? 6 : 2;
        if (IsHigh(unit) && IsLow(EscapedUnit(string.substr(i + 6)))) {
            length = 12;
        } else if (IsHigh(unit) || IsLow(unit)) {
            out += u"\\ufffd";
            i += 5;
            continue;
        }
        out += string.substr(i, length);
        i += length - 1;
    }
    return out;
}

/// The words are the same in capital letters, and NaN is one of them; written, it is a text.
std::u16string StrictWord(std::u16string_view scalar) {
    std::u16string lower;
    for (const char16_t unit : scalar)
        lower += unit >= u'A' && unit <= u'Z' ? static_cast<char16_t>(unit + 0x20) : unit;
    if (lower == u"nan") return u"\"NaN\"";
    return lower == u"true" || lower == u"false" || lower == u"null" ? lower : std::u16string(scalar);
}

/// An integer beyond 64 bits is the greatest or the least one.
std::u16string StrictInteger(std::u16string_view scalar) {
    const bool isNegative = scalar.starts_with(u'-');
    const std::u16string_view digits = scalar.substr(isNegative ? 1 : 0);
    const std::u16string_view limit = isNegative ? u"9223372036854775808" : u"9223372036854775807";
    constexpr std::size_t mostOfDouble = 309;  // the digits beyond which it is no number at all
    if (digits.empty() || digits.front() == u'0' || digits.find_first_not_of(u"0123456789") != npos ||
        digits.size() < limit.size() || (digits.size() == limit.size() && digits <= limit) ||
        digits.size() > mostOfDouble || std::isinf(std::strtod(kv::Utf8(digits).c_str(), nullptr)))
        return std::u16string(scalar);
    return (isNegative ? u"-" : u"") + std::u16string(limit);
}

/// A text without a value is an empty object.
std::u16string StrictDocument(std::u16string_view text) {
    const std::size_t first = text.find_first_not_of(jsonSpace);
    return first == npos || text[first] == u'\0' ? u"{}" : std::u16string(text);
}

/// Where the string at the front ends, behind its quote; 0 where it does not.
std::size_t StringLength(std::u16string_view text) {
    for (std::size_t i = 1; i < text.size(); ++i) {
        if (text[i] == u'\\') {
            ++i;
        } else if (text[i] == text.front()) {
            return i + 1;
        }
    }
    return 0;
}

/// The text as JSON has it. Where it is broken it stays so.
std::u16string Strict(std::u16string_view text) {
    std::u16string out;
    while (!text.empty()) {
        std::size_t length = 1;
        const char16_t first = text.front();
        if (json::IsSpace(first)) {
            while (length < text.size() && json::IsSpace(text[length])) ++length;
            out += StrictSpace(text.substr(0, length));
        } else if (first == u'"' || first == u'\'') {
            length = StringLength(text);
            if (length == 0) return out += text;
            out += StrictSurrogates(StrictEscapes(StrictControls(StrictQuotes(text.substr(0, length)))));
        } else if (first == u'\0') {  // the end for all of them
            length = text.size();
            out += text;
        } else if (IsAnyOf(first, u",:[]{}")) {
            out += first;
        } else {
            while (length < text.size() && !IsAnyOf(text[length], u",]}") && !json::IsSpace(text[length])) ++length;
            out += StrictInteger(StrictWord(text.substr(0, length)));
        }
        text.remove_prefix(length);
    }
    return StrictDocument(out);
}

/// What a peer reads, as it is shown of a document, and what this reader refuses of it.
class Peer {
 public:
    const std::string& Shown() const { return shown_; }
    /// There is an object or array around everything; names are not empty and come once; no more than 501 are in one
    /// another; no number is beyond a double, which RapidJSON may let pass.
    bool IsRefused() const { return isScalar_ || hasNoName_ || hasRepeatedName_ || isTooDeep_ || isInfinite_; }

    bool Put(auto put) {
        isScalar_ = isScalar_ || names_.empty();
        put();
        return true;
    }
    bool PutNull() {
        return Put([&] { shown_ += '0'; });
    }
    bool PutFlag(bool flag) {
        return Put([&] { shown_ += flag ? '+' : '-'; });
    }
    bool PutInteger(std::int64_t number) {
        return Put([&] {
            shown_ += 'i';
            fuzz::PutBits(shown_, number);
        });
    }
    bool PutNumber(double number) {
        isInfinite_ = isInfinite_ || std::isinf(number);
        return Put([&] { fuzz::PutDouble(shown_, number, Compared::Characters); });
    }
    bool PutString(std::string_view text) {
        return Put([&] { fuzz::PutText(shown_, kv::Utf16(text)); });
    }
    bool PutName(std::string_view name) {
        hasNoName_ = hasNoName_ || name.empty();
        hasRepeatedName_ = !names_.back().emplace(name).second || hasRepeatedName_;
        fuzz::PutText(shown_, kv::Utf16(name));
        return true;
    }
    bool Start(char bracket) {
        shown_ += bracket;
        names_.emplace_back();
        isTooDeep_ = isTooDeep_ || names_.size() > static_cast<std::size_t>(json::maxDepth) + 1;
        return true;
    }
    bool End() {
        shown_ += '.';
        names_.pop_back();
        return true;
    }

 private:
    std::string shown_;
    std::vector<std::set<std::string, std::less<>>> names_;  ///< of the containers that are open
    bool isScalar_ = false, hasNoName_ = false, hasRepeatedName_ = false, isTooDeep_ = false, isInfinite_ = false;
};

/// What RapidJSON calls.
struct RapidEvents {
    Peer& peer;

    bool Null() { return peer.PutNull(); }
    bool Bool(bool flag) { return peer.PutFlag(flag); }
    bool Int(int number) { return peer.PutInteger(number); }
    bool Uint(unsigned number) { return peer.PutInteger(number); }
    bool Int64(std::int64_t number) { return peer.PutInteger(number); }
    bool Uint64(std::uint64_t number) { return peer.PutInteger(static_cast<std::int64_t>(number)); }
    bool Double(double number) { return peer.PutNumber(number); }
    bool RawNumber(const char*, rapidjson::SizeType, bool) { return false; }
    bool String(const char* text, rapidjson::SizeType size, bool) { return peer.PutString({text, size}); }
    bool Key(const char* text, rapidjson::SizeType size, bool) { return peer.PutName({text, size}); }
    bool StartObject() { return peer.Start('{'); }
    bool EndObject(rapidjson::SizeType) { return peer.End(); }
    bool StartArray() { return peer.Start('['); }
    bool EndArray(rapidjson::SizeType) { return peer.End(); }
};

/// What the other one calls.
struct ModernEvents {
    Peer& peer;

    bool null() { return peer.PutNull(); }
    bool boolean(bool flag) { return peer.PutFlag(flag); }
    bool number_integer(std::int64_t number) { return peer.PutInteger(number); }
    bool number_unsigned(std::uint64_t number) { return peer.PutInteger(static_cast<std::int64_t>(number)); }
    bool number_float(double number, const std::string&) { return peer.PutNumber(number); }
    bool string(const std::string& text) { return peer.PutString(text); }
    bool binary(const std::vector<std::uint8_t>&) { return false; }
    bool key(const std::string& name) { return peer.PutName(name); }
    bool start_object(std::size_t) { return peer.Start('{'); }
    bool end_object() { return peer.End(); }
    bool start_array(std::size_t) { return peer.Start('['); }
    bool end_array() { return peer.End(); }
    bool parse_error(std::size_t, const std::string&, const nlohmann::detail::exception&) { return false; }
};

/// Whether there is a zero such as 0e99 or one of very many digits, of which RapidJSON makes what is undefined, or
/// refuses it.
bool HasOddZero(std::string_view text) {
    constexpr std::string_view manyZeros = "0000000000000000";
    if (text.find(manyZeros) != npos) return true;
    for (std::size_t e = text.find_first_of("eE"); e != npos; e = text.find_first_of("eE", e + 1)) {
        const std::string_view before = text.substr(0, e);
        const std::size_t last = before.find_last_not_of("0.");
        const std::size_t zeros = before.size() - (last == npos ? 0 : last + 1);
        if (zeros > 0 && (last == npos || before[last] < '1' || before[last] > '9')) return true;
    }
    return false;
}

bool ReadRapid(std::string_view text, Peer& peer) {
    constexpr unsigned flags =
        rapidjson::kParseFullPrecisionFlag | rapidjson::kParseIterativeFlag | rapidjson::kParseValidateEncodingFlag;
    rapidjson::MemoryStream stream(text.data(), text.size());
    rapidjson::EncodedInputStream<rapidjson::UTF8<>, rapidjson::MemoryStream> encoded(stream);
    RapidEvents events{peer};
    return !rapidjson::Reader().Parse<flags>(encoded, events).IsError();
}

bool ReadModern(std::string_view text, Peer& peer) {
    ModernEvents events{peer};
    return nlohmann::json::sax_parse(text, &events);
}

/// The document's values.
std::optional<std::string> ReadOwn(std::u16string_view text) {
    json::Scanner scanner;
    scanner.OpenText(text);
    const fuzz::Document document = fuzz::LoadDocument(scanner, &fuzz::SpreadHash, false, 0);
    if (document.loaded != json::Loaded::All) return {};
    return document.entries ? fuzz::Shown(document, Compared::Characters) : std::string("{.");
}

// Documents to try: pieces that are mostly JSON, strung together mostly as it has them.

constexpr auto scalars = std::to_array<std::string_view>({"0",
                                                          "-0",
                                                          "1",
                                                          "-1",
                                                          "0.0",
                                                          "-0.0",
                                                          "1.5",
                                                          "2.50",
                                                          "1e5",
                                                          "1E+5",
                                                          "-1.25e-3",
                                                          "0e999",
                                                          "1e-999",
                                                          "5e-324",
                                                          "2.2250738585072011e-308",
                                                          "1.7976931348623157e308",
                                                          "1.7976931348623159e308",
                                                          "1e999",
                                                          "01",
                                                          "1.",
                                                          ".5",
                                                          "+1",
                                                          "0x10",
                                                          "1e",
                                                          "-",
                                                          "9007199254740993",
                                                          "9223372036854775807",
                                                          "9223372036854775808",
                                                          "-9223372036854775808",
                                                          "-9223372036854775809",
                                                          "18446744073709551615",
                                                          "99999999999999999999",
                                                          "123456789012345678901234567890.5",
                                                          "0.1000000000000000055511151231257827",
                                                          "true",
                                                          "false",
                                                          "null",
                                                          "True",
                                                          "FALSE",
                                                          "NULL",
                                                          "NaN",
                                                          "nan",
                                                          "-NaN",
                                                          "Infinity",
                                                          "-INF",
                                                          "undefined",
                                                          "tru",
                                                          "\"\"",
                                                          "\"a\"",
                                                          "'b'",
                                                          "'\"'",
                                                          "'\\''",
                                                          "\"\\'\"",
                                                          "\"\\x\"",
                                                          "\"\\u12\"",
                                                          "\"\\u00e4\"",
                                                          "\"\\ud83d\\ude00\"",
                                                          "\"\\ud800\"",
                                                          "\"\\udc00\\ud800\"",
                                                          "\"\\u0000\"",
                                                          "\"\t\"",
                                                          "\"\xC3\xA4\xE2\x82\xAC\xF0\x9F\x98\x80\"",
                                                          "\"\\\"\\\\\\/\\b\\f\\n\\r\\t\"",
                                                          "\"\x7F\""});
constexpr auto spaces = std::to_array<std::string_view>(
    {"", "", "", " ", "\n", "\t\r", "\v", "\f", "\xC2\xA0", "\xE3\x80\x80", "\xE2\x80\xA8", "\xC2\x85", "/**/", "#"});
constexpr auto names = std::to_array<std::string_view>({"\"a\"", "\"b\"", "\"c\"", "\"d\"", "\"\\u0061\"", "'e'",
                                                        "\"\"", "f", "\"A\"", "\"\xC3\xA4\"", "\"\\ud800\"", "1"});
constexpr auto oddities = std::to_array<std::string_view>({",", ":", "[", "]", "{", "}", "\"", "'", "\\", "[]", "//"});

template <std::size_t count>
std::string_view Pick(const std::array<std::string_view, count>& pieces, fuzz::Input& input) {
    return pieces[input.Byte() % count];
}

void PutSpace(std::string& out, fuzz::Input& input) {
    if (const std::uint8_t choice = input.Byte(); choice >= 192) out += spaces[choice % spaces.size()];
    if (input.Byte() == 255) out += Pick(oddities, input);
}

void PutGenerated(std::string& out, fuzz::Input& input, int levels) {
    PutSpace(out, input);
    const std::uint8_t choice = input.Byte();
    if (choice < 128 || levels == 0) {
        out += levels == 0 && choice % 2 == 0 ? "[" : "";
        out += Pick(scalars, input);
        out += levels == 0 && choice % 2 == 0 ? "]" : "";
        return;
    }
    const bool isObject = choice % 2 != 0;
    out += isObject ? '{' : '[';
    for (int count = choice / 2 % 5; count > 0 && !input.IsEmpty(); --count) {
        PutSpace(out, input);
        if (isObject) out.append(Pick(names, input)).append(":");
        PutGenerated(out, input, levels - 1);
        if (count > 1) out += ',';
    }
    PutSpace(out, input);
    out += isObject ? '}' : ']';
    PutSpace(out, input);
}

}  // namespace

// The first byte says whether the rest is the text, or chooses pieces of one.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size == 0) return 0;
    fuzz::Input input(data + 1, size - 1);
    std::string bytes(fuzz::Text(data + 1, size - 1));
    if (data[0] % 2 != 0) {
        bytes.clear();
        PutGenerated(bytes, input, data[0] / 2 % 8);
    }
    const std::u16string text = kv::Utf16(bytes);
    if (text.starts_with(u'\uFEFF')) return 0;

    const std::u16string strict = Strict(text);
    const std::string strictBytes = kv::Utf8(strict);
    Peer modern;
    const bool isModern = ReadModern(strictBytes, modern);
    const auto own = ReadOwn(text);
    Require(own.has_value() == (isModern && !modern.IsRefused()), "both accept, or neither");
    if (own) Require(*own == modern.Shown(), "the values are the same");
    if (!HasOddZero(strictBytes)) {
        Peer rapid;
        const bool isRapid = ReadRapid(strictBytes, rapid);
        Require(own.has_value() == (isRapid && !rapid.IsRefused()), "RapidJSON accepts it, too, or neither");
        if (own) Require(*own == rapid.Shown(), "the values are those of RapidJSON, too");
    }
    if (!own) return 0;
    if (strict == text) return 0;
    const std::string given = kv::Utf8(text);
    Peer literal;
    Require(!ReadModern(given, literal) || literal.Shown() != *own, "what is called a liberty is none of the peers'");
    return 0;
}
