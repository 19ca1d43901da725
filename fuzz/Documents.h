// What the fuzz targets of JSON documents share: loading as the object model does, and what was loaded as bytes that
// can be compared.
#pragma once

#include <bit>
#include <cmath>
#include <cstdint>
#include <string>
#include <string_view>

#include "containers/NameFold.h"
#include "json/MemorySource.h"
#include "json/ScannerSource.h"
#include "kvcore/Utf.h"

namespace fuzz {

inline char16_t UpcaseOf(char16_t unit) noexcept {
    return (unit >= u'a' && unit <= u'z') || unit == u'\u00E4' ? static_cast<char16_t>(unit - 0x20) : unit;
}
inline std::uint32_t SpreadHash(std::u16string_view name) noexcept {
    return mova::HashName(name, 7, &UpcaseOf);
}

/// A document, or as much of it as was complete.
struct Document {
    kv::ArenaPtr arena;
    json::Entries* entries = nullptr;  ///< null where no object or array was begun
    bool isObject = false;
    json::Loaded loaded = json::Loaded::SourceFailed;
    bool lacksName = false;  ///< whether the source failed for want of a name
};

/// Loads what a scanner is at the beginning of.
inline Document LoadDocument(json::Scanner& scanner, json::NameHash hash, bool replaces, std::int32_t depth) {
    Document document;
    if (scanner.Next() == json::Outcome::Failed) return document;
    json::ScannerSource source(scanner);
    bool isEmpty = false;
    if (source.Current() == json::Token::None && !source.Start(isEmpty)) return document;
    if (isEmpty) {
        document.loaded = json::Loaded::All;
        return document;
    }
    document.isObject = source.Current() == json::Token::StartOfObject;
    document.arena = kv::ArenaPtr::Attach(kv::Arena::Make());
    json::TreeBuilder builder(*document.arena.Get(), hash, replaces, 0);
    document.loaded = json::LoadTree(source, builder, document.isObject, depth);
    document.lacksName = document.loaded == json::Loaded::SourceFailed && source.LacksName();
    document.entries = builder.Finish();
    return document;
}

/// What of a value counts.
enum class Compared : std::uint8_t {
    Everything,  ///< the kind and the decimals, too
    Meaning,     ///< what is left of it in JSON: a number without a fraction is an integer, not-a-number a text
    Characters   ///< the same, half surrogate pairs being U+FFFD
};

template <class T>
void PutBits(std::string& out, const T& bits) {
    out.append(reinterpret_cast<const char*>(&bits), sizeof bits);
}

inline void PutText(std::string& out, std::u16string_view text, Compared compared = Compared::Everything) {
    if (compared == Compared::Characters) return PutText(out, kv::Utf16(kv::Utf8(text)));
    out += 't';
    PutBits(out, text.size());
    out.append(reinterpret_cast<const char*>(text.data()), text.size() * sizeof(char16_t));
}

inline std::u16string TextOf(const json::Value& value) {
    if (value.tag.kind == json::Kind::NoText) return {};
    if (value.tag.kind == json::Kind::WideText) return std::u16string(value.payload.text->Wide());
    const std::string_view ascii = value.payload.text->Ascii();
    std::u16string text(ascii.size(), u'?');
    json::Widen(ascii, text.data());
    return text;
}

inline void PutDouble(std::string& out, double number, Compared compared) {
    constexpr double leastWithExponent = 1e15;
    if (compared != Compared::Everything && std::isnan(number)) return PutText(out, u"NaN");
    const bool isWhole =
        std::abs(number) < leastWithExponent && std::trunc(number) == number && !(number == 0 && std::signbit(number));
    if (compared != Compared::Everything && isWhole) {
        out += 'i';
        return PutBits(out, static_cast<std::int64_t>(number));
    }
    out += 'd';
    PutBits(out, std::bit_cast<std::uint64_t>(number));
}

inline void PutEntries(std::string& out, const json::Entries& entries, bool isObject, Compared compared);

inline void PutValue(std::string& out, const json::Value& value, Compared compared) {
    if (compared == Compared::Everything) {
        out += static_cast<char>(value.tag.kind);
        out += static_cast<char>(value.tag.detail);
    }
    switch (value.tag.kind) {
        case json::Kind::Boolean:
            out += value.payload.flag ? '+' : '-';
            break;
        case json::Kind::Int32:
        case json::Kind::Int64:
            out += 'i';
            PutBits(out, value.payload.integer);
            break;
        case json::Kind::Double:
            PutDouble(out, value.payload.number, compared);
            break;
        case json::Kind::NoText:
        case json::Kind::AsciiText:
        case json::Kind::WideText:
            PutText(out, TextOf(value), compared);
            break;
        case json::Kind::Object:
        case json::Kind::Array:
            PutEntries(out, *value.payload.entries, value.tag.kind == json::Kind::Object, compared);
            break;
        default:
            out += '0';
            break;
    }
}

/// The values in their order, with their names.
inline void PutEntries(std::string& out, const json::Entries& entries, bool isObject, Compared compared) {
    out += isObject ? '{' : '[';
    for (std::uint32_t i = 0; i < entries.count; ++i) {
        if (isObject) PutText(out, entries.NameAt(i), compared);
        PutValue(out, entries.At(i, isObject), compared);
    }
    out += '.';
}

inline std::string Shown(const Document& document, Compared compared) {
    std::string out;
    if (document.entries) PutEntries(out, *document.entries, document.isObject, compared);
    return out;
}

}  // namespace fuzz
