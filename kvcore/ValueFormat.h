// How a tagged value and a text stand in a stream; docs/formats.md has the layouts as tables. What a value becomes when
// it is read is left to a target, so that all who read values read them alike.
#pragma once

#include <array>
#include <optional>
#include <string_view>

#include "kvcore/ByteWindow.h"

namespace kv {

/// The types of values, under the numbers that the platform gives them in a VARIANT.
enum class ValueType : std::uint16_t {
    empty = 0,
    null = 1,
    i2 = 2,
    i4 = 3,
    r4 = 4,
    r8 = 5,
    currency = 6,
    date = 7,
    text = 8,
    dispatch = 9,
    error = 10,
    boolean = 11,
    variant = 12,
    unknown = 13,
    decimal = 14,
    i1 = 16,
    ui1 = 17,
    ui2 = 18,
    ui4 = 19,
    i8 = 20,
    ui8 = 21,
    integer = 22,
    uinteger = 23
};
/// Added to the type of an array's elements.
inline constexpr std::uint16_t arrayFlag = 0x2000;

/// How a value stands in a stream behind its type.
enum class ValueForm : std::uint8_t {
    none,     ///< not at all: no such type can be saved
    nothing,  ///< the type says it all
    fixed,    ///< as many bytes as its memory has
    text,     ///< the number of bytes in 32 bits, and the bytes
    object,   ///< an object reference
    variant,  ///< only inside arrays: a type and its value
};

struct ValueShape {
    ValueForm form;
    std::uint8_t streamSize;  ///< the fewest bytes that it takes in a stream
    std::uint8_t memorySize;  ///< as an element of an array in memory
};

constexpr ValueShape ShapeOf(ValueType type) noexcept {
    using enum ValueForm;
    constexpr ValueShape object8 = {object, 16, 8};
    constexpr std::array<ValueShape, 24> shapes = {{
        {nothing, 0, 0},  {nothing, 0, 0}, {fixed, 2, 2},   {fixed, 4, 4}, {fixed, 4, 4}, {fixed, 8, 8},
        {fixed, 8, 8},    {fixed, 8, 8},   {text, 4, 8},    object8,       {fixed, 4, 4}, {fixed, 2, 2},
        {variant, 2, 24}, object8,         {fixed, 16, 16}, {none, 0, 0},  {fixed, 1, 1}, {fixed, 1, 1},
        {fixed, 2, 2},    {fixed, 4, 4},   {fixed, 8, 8},   {fixed, 8, 8}, {fixed, 4, 4}, {fixed, 4, 4},
    }};
    const auto index = static_cast<std::size_t>(type);
    return index < shapes.size() ? shapes[index] : ValueShape{};
}

/// One dimension of an array.
struct ArrayBound {
    std::uint32_t count;
    std::int32_t lower;
};

/// The number of elements; nothing where there are more than 32 bits can count.
constexpr std::optional<std::uint32_t> ElementCount(std::span<const ArrayBound> bounds) noexcept {
    std::uint64_t count = 1;
    for (const ArrayBound& bound : bounds) {
        if (bound.count == 0) return 0;
        count *= bound.count;
        if (count > UINT32_MAX) return {};
    }
    return static_cast<std::uint32_t>(count);
}

/// Whether sixteen bytes are a decimal number: two that mean nothing, a scale of at most 28, a sign, the digits.
constexpr bool IsDecimal(const std::byte* bytes) noexcept {
    return bytes[2] <= std::byte{28} && (bytes[3] & std::byte{0x7F}) == std::byte{0};
}

/// Writes a text: the number of its units in 32 bits, and the units.
inline void WriteText(ByteWriter& out, std::u16string_view text) noexcept {
    if (text.size() > UINT32_MAX) out.Fail();
    out << static_cast<std::uint32_t>(text.size());
    out.Write(text.data(), text.size() * sizeof(char16_t));
}
/// Reads a text in place of what the string holds. @throw std::bad_alloc
template <class Text>
bool ReadText(ByteReader& in, Text& text) {
    std::uint32_t length = 0;
    text.clear();
    return in.Read(length) && in.Append(text, length);
}

namespace detail {

/// There is to be memory for so many elements that may hold others before the first has come.
inline constexpr std::uint32_t fewElements = 64;

template <class Target>
bool ReadElements(ByteReader& in, Target& target, ValueType type, std::span<const ArrayBound> bounds, int budget);

template <class Target>
bool ReadContent(ByteReader& in, Target& target, ValueType type, int budget);

}  // namespace detail

/// Reads the value that stands next, with its type.
/// @param budget how deeply arrays of values may hold such arrays.
/// @param target takes the value through these, each of which answers false to end the reading:
///
///     bool Nothing(ValueType type);
///     bool Fixed(ValueType type, ByteReader& in, std::size_t size);    // reads the bytes
///     bool Text(ByteReader& in, std::uint32_t size);                   // reads the bytes
///     bool Object(ValueType type, ByteReader& in);                     // reads the reference
///     bool NoArray(ValueType type);                                    // an array that is null
///     Elements Array(ValueType type, std::span<const ArrayBound> bounds);
///
/// What Array answers takes the elements in the order of memory and in as many pieces as the stream makes likely:
///
///     bool Grow(std::uint32_t count);                                  // there are to be so many from now on
///     bool Fixed(ByteReader& in, std::uint32_t from, std::uint32_t to);
///     Target At(std::uint32_t index);                                  // takes one element, as above
///     bool Finish();
///
/// @return false where the reader failed, then or before. @throw what the target throws
template <class Target>
bool ReadValue(ByteReader& in, Target& target, int budget) {
    std::uint16_t tag = 0;
    if (!in.Read(tag)) return false;
    const auto type = static_cast<ValueType>(tag & ~arrayFlag);
    if ((tag & arrayFlag) == 0) {
        const bool stands = ShapeOf(type).form != ValueForm::variant && detail::ReadContent(in, target, type, budget);
        return stands || in.Fail();
    }
    std::uint16_t dimensions = 0;
    if (!in.Read(dimensions)) return false;
    const ValueForm form = ShapeOf(type).form;
    if (form == ValueForm::none || form == ValueForm::nothing) return in.Fail();
    if (dimensions == 0) return target.NoArray(type) || in.Fail();
    if (form == ValueForm::variant && budget == 0) return in.Fail();
    if (dimensions <= 4) {  // as nearly all have; no memory is taken for them
        std::array<ArrayBound, 4> bounds;
        if (!in.Read(bounds.data(), dimensions * sizeof(ArrayBound))) return false;
        return detail::ReadElements(in, target, type, std::span(bounds.data(), dimensions), budget) || in.Fail();
    }
    std::vector<ArrayBound> bounds;
    if (!in.Append(bounds, dimensions)) return false;
    return detail::ReadElements(in, target, type, bounds, budget) || in.Fail();
}

template <class Target>
bool detail::ReadContent(ByteReader& in, Target& target, ValueType type, int budget) {
    const ValueShape shape = ShapeOf(type);
    switch (shape.form) {
        case ValueForm::nothing:
            return target.Nothing(type);
        case ValueForm::fixed:
            return target.Fixed(type, in, shape.streamSize);
        case ValueForm::text: {
            std::uint32_t size = 0;
            return in.Read(size) && target.Text(in, size);
        }
        case ValueForm::object:
            return target.Object(type, in);
        case ValueForm::variant:
            return ReadValue(in, target, budget);
        case ValueForm::none:
            break;
    }
    return false;
}

template <class Target>
bool detail::ReadElements(ByteReader& in, Target& target, ValueType type, std::span<const ArrayBound> bounds,
                          int budget) {
    const auto count = ElementCount(bounds);
    const ValueShape shape = ShapeOf(type);
    if (!count || shape.memorySize == 0) return false;
    // What a stream still has confirms the count of one array. Where arrays nest, each of them would claim it for
    // itself.
    const bool mayNest = shape.form == ValueForm::variant || shape.form == ValueForm::object;
    const auto unasked = static_cast<std::uint32_t>(mayNest ? fewElements : ByteReader::pieceSize / shape.memorySize);
    auto elements = target.Array(type, bounds);
    std::uint32_t ready = 0;
    while (ready < *count) {
        const std::uint32_t piece = std::max(ready, unasked);
        const std::uint32_t missing = *count - ready;
        const bool all = missing <= piece || (!mayNest && in.Holds(std::uint64_t{missing} * shape.streamSize));
        const std::uint32_t next = all ? *count : ready + piece;
        if (!elements.Grow(next)) return false;
        if (shape.form == ValueForm::fixed) {
            if (!elements.Fixed(in, ready, next)) return false;
        } else {
            for (std::uint32_t i = ready; i < next; ++i) {
                auto element = elements.At(i);
                if (!ReadContent(in, element, type, budget - 1)) return false;
            }
        }
        ready = next;
    }
    return elements.Finish();
}

}  // namespace kv
