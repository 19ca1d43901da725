// The JSON libraries that ours is held against, as the benchmarks call them.
#pragma once

#include <movaSystem.h>

#include <bit>
#include <cstdint>
#include <type_traits>

#include "bench/Bench.h"
#include "kvcore/Platform.h"

#define RAPIDJSON_SSE2
#include <rapidjson/document.h>
#include <rapidjson/prettywriter.h>
#include <rapidjson/reader.h>
#include <rapidjson/stringbuffer.h>
#include <rapidjson/writer.h>

#include <nlohmann/json.hpp>

namespace bench {

using Utf8 = rapidjson::UTF8<>;
using Utf16 = rapidjson::UTF16<>;
using Buffer8 = rapidjson::GenericStringBuffer<Utf8>;
using Buffer16 = rapidjson::GenericStringBuffer<Utf16>;

/// Doubles that may be off by a unit in the last place, which costs less, and those that are not, as ours.
inline constexpr unsigned inexact = rapidjson::kParseDefaultFlags;
inline constexpr unsigned exact = rapidjson::kParseFullPrecisionFlag;

/// A text is in UTF-8 or UTF-16, as its characters are small or large.
template <class Char>
using EncodingOf = std::conditional_t<sizeof(Char) == 1, Utf8, Utf16>;

using Document = rapidjson::GenericDocument<Utf16>;

template <unsigned flags, class Char>
void ParseDocument(const Char* text, Document& document) {
    rapidjson::GenericStringStream<EncodingOf<Char>> stream(text);
    document.ParseStream<flags, EncodingOf<Char>>(stream);
    Require(!document.HasParseError(), "RapidJSON refuses a text.");
}

inline std::size_t RootCount(const Document& document) {
    return document.IsObject() ? document.MemberCount() : document.Size();
}

/// Walks through a text, handing its tokens to a handler.
template <unsigned flags, class Char, class Handler>
void Walk(const Char* text, Handler& handler) {
    rapidjson::GenericReader<EncodingOf<Char>, Utf16> reader;
    rapidjson::GenericStringStream<EncodingOf<Char>> stream(text);
    Require(!reader.template Parse<flags>(stream, handler).IsError(), "RapidJSON refuses a text.");
}

/// A handler for RapidJSON in fewer functions.
/// @tparam Self has OnToken(kind), kind being a movaJSONToken, called for each token, and before that for those of
///     either kind OnNumber(value) and OnText(units, count)
template <class Self>
class Handler {
 public:
    using Ch = wchar_t;

    bool Null() { return Meet(movaJSONTokenNull); }
    bool Bool(bool) { return Meet(movaJSONTokenBoolean); }
    bool Int(int value) { return Double(value); }
    bool Uint(unsigned value) { return Double(value); }
    bool Int64(std::int64_t value) { return Double(static_cast<double>(value)); }
    bool Uint64(std::uint64_t value) { return Double(static_cast<double>(value)); }
    bool Double(double value) {
        This().OnNumber(value);
        return Meet(movaJSONTokenNumber);
    }
    bool RawNumber(const wchar_t*, rapidjson::SizeType, bool) { return false; }
    bool String(const wchar_t* units, rapidjson::SizeType count, bool) {
        This().OnText(units, count);
        return Meet(movaJSONTokenString);
    }
    bool Key(const wchar_t* units, rapidjson::SizeType count, bool copy) { return String(units, count, copy); }
    bool StartObject() { return Meet(movaJSONTokenStartOfObject); }
    bool EndObject(rapidjson::SizeType) { return Meet(movaJSONTokenEndOfObject); }
    bool StartArray() { return Meet(movaJSONTokenStartOfArray); }
    bool EndArray(rapidjson::SizeType) { return Meet(movaJSONTokenEndOfArray); }

 private:
    Self& This() { return static_cast<Self&>(*this); }
    bool Meet(LONG kind) {
        This().OnToken(kind);
        return true;
    }
};

/// All of a document's content in one number, however its text is laid out and its numbers are written.
class Digest : public Handler<Digest> {
 public:
    template <class Char>
    static std::uint64_t Of(const Char* text) {
        Digest digest;
        Walk<exact>(text, digest);
        return digest.mixed_;
    }

    void OnToken(LONG kind) { Mix(static_cast<std::uint64_t>(kind)); }
    void OnNumber(double value) { Mix(std::bit_cast<std::uint64_t>(value)); }
    void OnText(const wchar_t* units, std::size_t count) {
        for (std::size_t i = 0; i < count; ++i) Mix(units[i]);
    }

 private:
    void Mix(std::uint64_t part) { mixed_ = (std::rotl(mixed_, 5) ^ part) * 0x9E3779B97F4A7C15U; }

    std::uint64_t mixed_ = 0;
};

}  // namespace bench
