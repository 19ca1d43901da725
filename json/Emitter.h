// JSON text, written token by token; what would make it no JSON is refused.
#pragma once

#include <cstdint>
#include <optional>
#include <string_view>

#include "json/BitStack.h"
#include "json/ByteChain.h"
#include "kvcore/NumberText.h"

namespace json {

/// Where the next token would stand.
enum class Place : std::uint8_t { Document, EmptyObject, Object, EmptyArray, Array };

/// Why a token was refused; then nothing is written and nothing changed.
enum class Refusal : std::uint8_t { None, Misplaced, Nameless };

/// Writes JSON text to memory. A value in an object is announced by BeginMember, one in an array by BeginElement, which
/// write what separates it and its name; the value itself follows, and is not refused. A whole document needs neither.
/// Everything that writes can throw std::bad_alloc; RollBack then undoes what was begun.
class Emitter {
 public:
    /// Whether each value stands in a line of its own, and how many blanks a level sets it in.
    void SetFormatted(bool isFormatted) noexcept { isFormatted_ = isFormatted; }
    void SetIndent(std::uint32_t blanks) noexcept { indent_ = blanks; }
    /// The decimals that numbers have at most which are written without saying so; more than sixteen are no limit.
    void SetMaximumDecimals(std::optional<std::uint32_t> decimals) noexcept { maximumDecimals_ = decimals; }
    /// As it was made, but for the bytes and the decimals: at the document's level, without format.
    void Reset() noexcept;

    json::Place Place() const noexcept {
        if (open_.IsEmpty()) return json::Place::Document;
        if (open_.Top()) return isEmpty_ ? json::Place::EmptyArray : json::Place::Array;
        return isEmpty_ ? json::Place::EmptyObject : json::Place::Object;
    }
    std::uint64_t Depth() const noexcept { return open_.Height(); }
    bool IsInObject() const noexcept { return !open_.IsEmpty() && !open_.Top(); }
    bool IsInArray() const noexcept { return !open_.IsEmpty() && open_.Top(); }

    /// Announces a member. Refused outside an object, or without a name.
    [[nodiscard]] Refusal BeginMember(std::u16string_view name);
    /// Announces an element. Refused outside an array.
    [[nodiscard]] Refusal BeginElement();

    void StartObject() { Start('{', false); }
    void StartArray() { Start('[', true); }
    /// Refused unless the innermost container is an object.
    [[nodiscard]] Refusal EndObject() { return End('}', IsInObject()); }
    [[nodiscard]] Refusal EndArray() { return End(']', IsInArray()); }

    void Text(std::u16string_view text);
    void AsciiText(std::string_view text);
    void Boolean(bool value) { Token(value ? "true" : "false"); }
    void Null() { Token("null"); }
    /// Infinities are the greatest number of their sign; what is no number is the text "NaN".
    void Number(double value);
    /// With so many decimals at most; more than sixteen are no limit of their own.
    void Number(double value, std::uint32_t decimals);
    void Number(float value);
    void Integer(std::int64_t value);
    void Unsigned(std::uint64_t value);
    /// As it stands, the caller answering for it.
    void Raw(std::u16string_view text);
    /// ASCII as it stands, less than ByteChain::mostRoom.
    void Token(std::string_view text);
    /// What a function writes. @param format char*(char*, Value), which writes at most kv::numberTextSize bytes
    template <class Value, class Format>
    void Formatted(const Value& value, Format format) {
        bytes_.Append(format(bytes_.Room(kv::numberTextSize), value));
    }

    /// What was written so far.
    ByteChain& Bytes() noexcept { return bytes_; }
    const ByteChain& Bytes() const noexcept { return bytes_; }

    /// What is needed to undo one token and what announced it.
    struct Mark {
        ByteChain::Position end;
        bool isEmpty;
    };
    Mark Here() const noexcept { return {bytes_.End(), isEmpty_}; }
    void RollBack(const Mark& mark) noexcept {
        bytes_.CutBack(mark.end);
        isEmpty_ = mark.isEmpty;
    }
    /// What is needed to undo anything. @throw std::bad_alloc
    struct Snapshot {
        Mark mark;
        BitStack open;
    };
    Snapshot Save() const { return {Here(), open_}; }
    void Restore(Snapshot&& snapshot) noexcept {
        RollBack(snapshot.mark);
        open_ = std::move(snapshot.open);
    }

 private:
    char* Separate(std::size_t more);
    void NewLine(std::uint64_t levels);
    void Start(char bracket, bool isArray);
    Refusal End(char bracket, bool isInnermost);
    /// Writes a text piece by piece. @param put char*(char*, std::u16string_view)
    template <class Put>
    void Pieces(std::u16string_view text, std::size_t unitSize, Put put);

    ByteChain bytes_;
    BitStack open_;         ///< a bit for each open container, set for an array
    bool isEmpty_ = false;  ///< whether the innermost container has nothing in it
    bool isFormatted_ = false;
    std::uint32_t indent_ = 2;
    std::optional<std::uint32_t> maximumDecimals_;
};

}  // namespace json
