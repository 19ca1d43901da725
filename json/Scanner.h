// The tokens of JSON text, one after the other.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "json/BitStack.h"
#include "json/LineCounter.h"
#include "json/PlainNumber.h"
#include "json/TextBuffer.h"

namespace json {

enum class Token : std::int32_t {
    None = -1,
    String = 1,  ///< in double or single quotes; also a property's name
    Number,      ///< also the bare word NaN
    Boolean,
    Null,
    StartOfObject,
    EndOfObject,
    StartOfArray,
    EndOfArray
};

/// Where in the grammar the scanner is.
enum class State : std::uint8_t {
    Empty,                     ///< outside of everything
    StartOfObject,             ///< in an object of which nothing was read yet
    StartOfArray,              ///< the same in an array
    InPropertyName,            ///< a name was read, a colon must follow
    InPropertyNameDelimiter,   ///< a colon was read, a value must follow
    InPropertyValue,           ///< a scalar value was read, a comma or a closing brace must follow
    InPropertyValueDelimiter,  ///< a comma was read, a name must follow
    InArrayValue,              ///< an element was read, a comma or a closing bracket must follow
    InArrayValueDelimiter,     ///< a comma was read, an element must follow
    EndOfObject,               ///< an object was closed
    EndOfArray
};
/// The name of a state as messages have it; empty for what is none.
std::u16string_view NameOf(State state) noexcept;

/// What is wrong with a text, or with where it comes from.
enum class Fault : std::uint8_t {
    None,
    ReadPastEnd,
    EndOfFile,
    EndInString,
    ReadChunk,
    Quote,
    Comma,
    Colon,
    OpenBracket,
    OpenBrace,
    CloseBrace,
    CloseBracket,
    BareWord,
    UnknownWord,
    BadNumber,
    NoPropertyName,
    BadToken,
    EmptyInput,
    UnknownEncoding,
    BadUtf8,
    NoCharacter,  ///< nothing behind a byte-order mark; there is no text for it
    SourceFailed  ///< with a code; there is no text for it
};
/// What a message says of a fault; empty for those without a text.
std::u16string_view TextOf(Fault fault) noexcept;

struct Failure {
    Fault fault = Fault::None;
    std::int32_t code = 0;      ///< what a source failed with, handed through unread
    Fault cause = Fault::None;  ///< why reading more of a number or word failed
};

/// Where a scanner gets its text from piece by piece.
class TextSource {
 public:
    /// Appends a piece, which is not empty unless it is the last one.
    /// @param isLast receives whether nothing comes behind it.
    /// @throw std::bad_alloc
    virtual Failure Append(TextBuffer& text, bool& isLast) = 0;

 protected:
    ~TextSource() = default;
};

enum class Outcome : std::uint8_t {
    Token,   ///< there is a token, or the text was ended by a NUL
    End,     ///< the text is at its end
    Failed,  ///< failure() says why
};

/// The names that a search is for.
class NameSearch {
 public:
    /// Told each name of the object, escapes and all. @return whether it is one that is searched for
    virtual bool Meets(std::u16string_view between, bool hasEscapes) = 0;

 protected:
    ~NameSearch() = default;
};

/// Reads the tokens of a text in one piece or of one that comes in pieces, of which only the current token is kept.
/// Nesting is bounded by memory alone: a level takes a bit. Whatever throws, throws std::bad_alloc, upon which the
/// scanner is where it was but for text that has come.
///
/// The grammar is that of JSON with a few liberties: single quotes, words in any case, a closing brace for an array
/// that ends in a container. The text's end and a NUL outside of strings end it wherever no comma or colon waits for a
/// value: whether all containers are closed is for the caller to see.
class Scanner {
 public:
    /// Reads a text of which it makes a copy.
    void OpenText(std::u16string_view text);
    /// Reads a text that outlives the reading and is followed by a NUL.
    void Borrow(std::u16string_view text) noexcept;
    /// Reads what comes from a source, which outlives the reading. Its first piece is taken at once.
    /// @return how that failed
    Failure OpenSource(TextSource& source);
    /// Reads no text, and is past its end.
    void OpenNothing() noexcept;
    /// Lets go of the text; as a new scanner, but that memory is kept.
    void Close() noexcept;

    /// Goes to the next token.
    Outcome Next();
    /// Goes on until a container is closed: the one that has just been opened, else one that the current token is in.
    /// Scalars that are passed over are not looked into.
    /// @param end EndOfObject or EndOfArray
    /// @param advance whether to go on to the token behind it.
    /// @param search stops at the value of the first name that it is for; may be null.
    Outcome Skip(State end, bool advance, NameSearch* search = nullptr);

    Token token() const noexcept { return token_; }
    State state() const noexcept { return state_; }
    /// How many containers are open.
    std::uint64_t Depth() const noexcept { return containers_.Height(); }
    /// The current token, quotes included.
    std::u16string_view Text() const noexcept { return {tokenStart_, static_cast<std::size_t>(scan_ - tokenStart_)}; }
    /// The text between the quotes of a string; empty where it is none.
    std::u16string_view Between() const noexcept {
        const auto text = Text();
        return text.size() < 2 ? std::u16string_view() : text.substr(1, text.size() - 2);
    }
    /// The value of a token that is a number, where it is written plainly and in sight as a whole.
    std::optional<PlainNumber> Plain() const noexcept {
        if (scan_ != tokenStart_ + shape_.length || !IsReadAtOnce(shape_, scan_)) return {};
        return TakeApart(tokenStart_, shape_);
    }
    /// Goes on in an array to its next element where that is such a number; else nothing is changed.
    std::optional<PlainNumber> NextNumber() noexcept {
        const char16_t* p = scan_;
        const NumberShape shape = ShapeOfNext(p, state_);
        const char16_t* const next = p + shape.length;
        if (!IsReadAtOnce(shape, next)) return {};
        Leave({p, next, State::InArrayValue, Token::Number});
        shape_ = shape;
        return TakeApart(p, shape);
    }
    /// Goes on from an element of an array to its end where that follows; else nothing is changed.
    bool EndArray() noexcept {
        if (state_ != State::InArrayValue || *scan_ != u']') return false;
        containers_.Pop();
        Leave({scan_, scan_ + 1, State::EndOfArray, Token::EndOfArray});
        return true;
    }
    /// Whether a string has escapes.
    bool HasEscapes() const noexcept { return hasEscapes_; }
    /// The value of a token that is a number, a boolean or null, which counts as not-a-number; else 0. Computed when
    /// asked for.
    double Double() const noexcept;
    /// The same as an integer: the digits up to a point or exponent, or the nearest there is. Null and NaN are the
    /// greatest one.
    std::int64_t Int64() const noexcept;
    std::uint64_t UInt64() const noexcept;

    const Failure& failure() const noexcept { return failure_; }
    /// A message about the current place: what is wrong, the state, and an excerpt of the text. @throw std::bad_alloc
    std::u16string Message(std::u16string_view fault) const;
    /// Where the current token begins, or where the text ended.
    Position TokenPosition() const noexcept;
    /// Where the last failure happened; all zero as long as there was none.
    const Position& FailurePosition() const noexcept { return failurePosition_; }

    /// Whether the end was reported: nothing can be read any more.
    bool IsPastEnd() const noexcept { return pastEnd_; }
    /// Whether the text is all there, and will not move any more.
    bool IsWhole() const noexcept { return exhausted_; }
    /// Where the scanner is in a whole text.
    struct Bookmark {
        std::ptrdiff_t tokenStart, scan;
        BitStack containers;
        Token token;
        State state;
        bool pastEnd, hasEscapes;
    };
    Bookmark Mark() const;
    /// Goes to a marked place. @return false, nothing being changed, where the text is not as long
    bool GoTo(const Bookmark& bookmark);

 private:
    enum class Mode : std::uint8_t { reading, skipping };

    /// A token, with the state behind it and where the next one begins.
    struct Place {
        const char16_t* start;
        const char16_t* next;
        State state;
        Token token;
    };
    enum class Met : std::uint8_t {
        token,
        longString,  ///< the beginning of a string in double quotes
        other
    };
    /// The shape of the number that is the next element of an array; none where there is none.
    /// @param p behind an element or the start, from where it is moved to the number
    NumberShape ShapeOfNext(const char16_t*& p, State state) const noexcept {
        if (end_ - p < farFromEnd) return {};
        if (state == State::InArrayValue) {
            if (*p++ != u',') return {};
        } else if (state != State::StartOfArray) {
            return {};
        }
        return ShapeOf(p);
    }
    bool IsReadAtOnce(NumberShape shape, const char16_t* end) const noexcept {
        return shape.length != 0 && shape.digits <= mostDigits && end - begin_ >= unitsForValue;
    }
    Place Here() const noexcept { return {tokenStart_, scan_, state_, token_}; }
    void Leave(const Place& at) noexcept {
        tokenStart_ = at.start;
        scan_ = at.next;
        state_ = at.state;
        token_ = at.token;
    }
    Met Recognise(const char16_t* p, State state, Place& at);
    template <Mode mode>
    Outcome ScanOn();
    template <Mode mode>
    Outcome NextAtEnd();
    template <Mode mode>
    Outcome Scan(const char16_t* p);
    Outcome ScanString(const char16_t* p, char16_t quote);
    template <Mode mode>
    Outcome ScanScalar(const char16_t* p);
    Outcome Classify(std::u16string_view text);
    Outcome ScanTextEnd(const char16_t* p, bool& goesOn);

    State Container() const noexcept {
        if (containers_.IsEmpty()) return State::Empty;
        return containers_.Top() ? State::StartOfArray : State::StartOfObject;
    }
    bool Refill();
    Outcome ReportEnd() noexcept;
    Outcome Fail(Fault fault, const char16_t* tokenStart, const char16_t* scan) noexcept;
    void Use(const char16_t* begin, std::size_t size) noexcept;

    // The text in memory, which ends in a NUL, and in it the current token. Its two ends do not stand side by side:
    // they would be stored as one, and loading one of them would wait for that.
    const char16_t* scan_ = &noText;
    const char16_t* end_ = &noText;
    const char16_t* tokenStart_ = &noText;
    State state_ = State::Empty;
    bool exhausted_ = false;
    bool pastEnd_ = false;
    bool hasEscapes_ = false;
    Token token_ = Token::None;
    NumberShape shape_;    ///< of a token that is a number
    BitStack containers_;  ///< set bits are arrays

    const char16_t* begin_ = &noText;
    TextSource* source_ = nullptr;
    TextBuffer text_;
    BitStack skipped_;  ///< what a walk over containers is to find closed, outermost first; set bits are arrays
    Failure failure_;
    Position failurePosition_;
    LineCounter linesBefore_;    ///< at the beginning of the text in memory
    mutable LineCounter lines_;  ///< at the place that was asked for last

    static constexpr char16_t noText = u'\0';
    /// Where so much text follows, a delimiter and what is looked at behind it are in it.
    static constexpr std::ptrdiff_t farFromEnd = 1 + unitsForShape;
};

}  // namespace json
