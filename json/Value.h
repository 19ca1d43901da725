// How the values of a document are held: sixteen bits that say what a value is, and eight bytes for the value itself or
// where it lies.
#pragma once

#include <bit>
#include <cstdint>
#include <cstring>
#include <string_view>

namespace json {

enum class Kind : std::uint8_t {
    Empty,
    Null,
    Boolean,
    Int32,
    Int64,
    UInt64,
    Float,
    Double,
    Date,
    NoText,     ///< a text that is null
    AsciiText,  ///< a text without a unit beyond ASCII, a byte each
    WideText,
    Object,  ///< entries in the arena that nobody has asked for yet
    Array,
    Held,   ///< a reference to an object of whoever uses the container
    Other,  ///< a value of whoever uses the container
};

/// Whether values of two kinds are of one type for those who use them: texts are, and so are objects and arrays.
bool SameType(Kind left, Kind right) noexcept;

/// What a value is, and one detail of it: the decimals of a number (-1 for none), the flags of an object or array, or
/// whether a text belongs to the container alone.
struct alignas(std::uint16_t) Tag {
    Kind kind = Kind::Empty;
    std::int8_t detail = 0;

    /// Both at once: a tag that is written in parts cannot be read as a whole right behind that without a delay.
    static Tag Make(Kind kind, std::int8_t detail) noexcept {
        const auto bits =
            static_cast<std::uint16_t>(static_cast<unsigned>(kind) | unsigned{static_cast<std::uint8_t>(detail)} << 8);
        return std::bit_cast<Tag>(bits);
    }
};

inline constexpr std::int8_t noDecimals = -1;
inline constexpr std::int8_t ownText = 1;

struct Entries;

/// A text as it lies in memory: its length, then its bytes or units.
struct Text {
    std::uint32_t length;

    const char* Bytes() const noexcept { return reinterpret_cast<const char*>(this + 1); }
    const char16_t* Units() const noexcept { return reinterpret_cast<const char16_t*>(this + 1); }
    std::string_view Ascii() const noexcept { return {Bytes(), length}; }
    std::u16string_view Wide() const noexcept { return {Units(), length}; }
};

union Payload {
    std::int64_t integer = 0;
    std::uint64_t natural;
    double number;
    float shortNumber;
    bool flag;
    const Text* text;
    const Entries* entries;
    void* held;
};

struct Value {
    Payload payload;
    Tag tag;

    static Value Of(Kind kind, std::int8_t detail = noDecimals) noexcept { return {{}, Tag::Make(kind, detail)}; }
    static Value Of(bool flag) noexcept {
        Value value = Of(Kind::Boolean);
        value.payload.flag = flag;
        return value;
    }
    static Value Of(std::int64_t number, Kind kind) noexcept {
        Value value = Of(kind);
        value.payload.integer = number;
        return value;
    }
    static Value Of(double number, Kind kind, std::int8_t decimals = noDecimals) noexcept {
        Value value = Of(kind, decimals);
        value.payload.number = number;
        return value;
    }
    static Value Of(void* held, Kind kind) noexcept {
        Value value = Of(kind);
        value.payload.held = held;
        return value;
    }
};

/// A copy of a text that belongs to who asks for it, until it is handed to a container or FreeText. @throw
/// std::bad_alloc
Value MakeText(std::u16string_view text);
/// Writes a text and says what it is. @param memory has room for the text as wide text, unless that is ASCII.
Value WriteText(void* memory, std::u16string_view text) noexcept;
/// The bytes that a text takes.
constexpr std::size_t TextSize(std::size_t length, bool isAscii) noexcept {
    return sizeof(Text) + length * (isAscii ? 1 : 2);
}
/// Frees a text that belongs to nobody else; does nothing for any other value.
void FreeText(const Value& value) noexcept;
/// Whether a text holds ASCII only.
bool IsAscii(std::u16string_view text) noexcept;
/// Widens bytes to units. @param units has room for as many.
void Widen(std::string_view ascii, char16_t* units) noexcept;

}  // namespace json
