#include "json/Scanner.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cstring>
#include <limits>

#include "kvcore/NumberText.h"

namespace json {
namespace {

constexpr auto states = static_cast<std::size_t>(State::EndOfArray) + 1;

/// What the first character of a token says.
enum class Kind : std::uint8_t {
    scalar,
    space,
    end,
    quote,
    comma,
    colon,
    openBracket,
    openBrace,
    closeBrace,
    closeBracket
};

constexpr auto kinds = [] {
    std::array<Kind, 128> table{};
    for (std::size_t unit = 0; unit < table.size(); ++unit)
        if (IsSpace(static_cast<char16_t>(unit))) table[unit] = Kind::space;
    table[u'\0'] = Kind::end;
    table[u'"'] = table[u'\''] = Kind::quote;
    table[u','] = Kind::comma;
    table[u':'] = Kind::colon;
    table[u'['] = Kind::openBracket;
    table[u'{'] = Kind::openBrace;
    table[u'}'] = Kind::closeBrace;
    table[u']'] = Kind::closeBracket;
    return table;
}();

constexpr Kind KindOf(char16_t unit) noexcept {
    if (unit < kinds.size()) [[likely]]
        return kinds[unit];
    return IsSpace(unit) ? Kind::space : Kind::scalar;
}

/// The state behind a token, by the state before it; Empty where the token may not stand.
using NextStates = std::array<State, states>;
constexpr auto E = State::Empty;
constexpr NextStates afterString = {E,
                                    State::InPropertyName,
                                    State::InArrayValue,
                                    E,
                                    State::InPropertyValue,
                                    E,
                                    State::InPropertyName,
                                    E,
                                    State::InArrayValue,
                                    E,
                                    E};
constexpr NextStates afterScalar = {E, E, State::InArrayValue, E, State::InPropertyValue, E, E, E, State::InArrayValue,
                                    E, E};

constexpr bool MayOpen(State state) noexcept {
    constexpr unsigned allowed = 1u << static_cast<unsigned>(State::Empty) |
                                 1u << static_cast<unsigned>(State::StartOfArray) |
                                 1u << static_cast<unsigned>(State::InPropertyNameDelimiter) |
                                 1u << static_cast<unsigned>(State::InArrayValueDelimiter);
    return (allowed >> static_cast<unsigned>(state) & 1) != 0;
}

/// Whether a comma or colon has been read and what it announces has not.
constexpr bool IsWaiting(State state) noexcept {
    return state == State::InPropertyNameDelimiter || state == State::InPropertyValueDelimiter ||
           state == State::InArrayValueDelimiter;
}

constexpr bool IsDigit(char16_t unit) noexcept {
    return unit >= u'0' && unit <= u'9';
}

/// The first unit from p on that is no white space, or the end.
const char16_t* AfterSpace(const char16_t* p, const char16_t* end) noexcept {
    for (;;) {
        if (end - p >= Units::count) {
            const unsigned others = Units(p).NotAsciiSpace();
            if (others == 0) {
                p += Units::count;
                continue;
            }
            p += std::countr_zero(others);
        }
        if (p >= end || !IsSpace(*p)) return p;
        ++p;
    }
}

/// Four units as one number, ASCII letters in lower case.
std::uint64_t FourLower(const char16_t* text) noexcept {
    std::uint64_t units;
    std::memcpy(&units, text, sizeof units);
    return units | 0x0020'0020'0020'0020;
}

constexpr std::uint64_t FourUnits(const char16_t (&text)[5]) noexcept {
    return text[0] | std::uint64_t{text[1]} << 16 | std::uint64_t{text[2]} << 32 | std::uint64_t{text[3]} << 48;
}

enum class Word : std::uint8_t { none, isTrue, isFalse, isNull, isNaN };

Word WordOf(std::u16string_view text) noexcept {
    const auto isLetter = [&](std::size_t at, char16_t lower) { return (text[at] | 0x20) == lower; };
    if (text.size() == 3) return isLetter(0, u'n') && isLetter(1, u'a') && isLetter(2, u'n') ? Word::isNaN : Word::none;
    if (text.size() != 4 && text.size() != 5) return Word::none;
    const std::uint64_t four = FourLower(text.data());
    if (text.size() == 5) return four == FourUnits(u"fals") && isLetter(4, u'e') ? Word::isFalse : Word::none;
    if (four == FourUnits(u"true")) return Word::isTrue;
    return four == FourUnits(u"null") ? Word::isNull : Word::none;
}

/// The length of a keyword in its usual spelling; 0 where it is none, or something else than a delimiter follows. Eight
/// units must be there.
inline std::ptrdiff_t KeywordLength(const char16_t* text, Token& token) noexcept {
    std::uint64_t four;
    std::memcpy(&four, text, sizeof four);
    std::ptrdiff_t length = 4;
    if (four == FourUnits(u"true")) {
        token = Token::Boolean;
    } else if (four == FourUnits(u"null")) {
        token = Token::Null;
    } else if (four == FourUnits(u"fals") && text[4] == u'e') {
        token = Token::Boolean;
        length = 5;
    } else {
        return 0;
    }
    return EndsScalar(text[length]) ? length : 0;
}

constexpr double notANumber = std::bit_cast<double>(0x7FF8'0000'0000'0001);

}  // namespace

void Scanner::OpenText(std::u16string_view text) {
    Close();
    char16_t* const room = text_.Room(text.size());
    if (!text.empty()) std::memcpy(room, text.data(), text.size() * sizeof *room);
    text_.Add(text.size());
    Use(text_.Begin(), text_.Size());
    exhausted_ = true;
}

void Scanner::Borrow(std::u16string_view text) noexcept {
    Close();
    if (!text.empty()) Use(text.data(), text.size());
    exhausted_ = true;
}

Failure Scanner::OpenSource(TextSource& source) {
    Close();
    source_ = &source;
    const Failure failure = source.Append(text_, exhausted_);
    Use(text_.Begin(), text_.Size());
    return failure;
}

void Scanner::OpenNothing() noexcept {
    Close();
    exhausted_ = pastEnd_ = true;
}

void Scanner::Close() noexcept {
    containers_.Clear();
    text_.Free();
    Use(nullptr, 0);
    source_ = nullptr;
    state_ = State::Empty;
    token_ = Token::None;
    exhausted_ = pastEnd_ = hasEscapes_ = false;
    failure_ = {};
    failurePosition_ = {};
    linesBefore_ = lines_ = {};
}

void Scanner::Use(const char16_t* begin, std::size_t size) noexcept {
    begin_ = tokenStart_ = scan_ = begin ? begin : &noText;
    end_ = begin_ + size;
}

/// What follows most often: a delimiter, if any, and a token that is not near the text's end. Where it is something
/// else, nothing is changed.
inline Scanner::Met Scanner::Recognise(const char16_t* p, State state, Place& at) {
    if (end_ - p < farFromEnd) [[unlikely]]
        return Met::other;
    if (*p == u',') {
        if (state == State::InArrayValue) {
            state = State::InArrayValueDelimiter;
        } else if (state == State::InPropertyValue) {
            state = State::InPropertyValueDelimiter;
        } else if (state >= State::EndOfObject && !containers_.IsEmpty()) {
            state = containers_.Top() ? State::InArrayValueDelimiter : State::InPropertyValueDelimiter;
        } else {
            return Met::other;
        }
        ++p;
    } else if (*p == u':') {
        if (state != State::InPropertyName) return Met::other;
        state = State::InPropertyNameDelimiter;
        ++p;
    }

    const char16_t unit = *p;
    const char16_t* next = p + 1;
    Token token = Token::Number;
    if (static_cast<char16_t>(unit - u'-') <= u'9' - u'-') {
        state = afterScalar[static_cast<std::size_t>(state)];
        const NumberShape shape = ShapeOf(p);
        if (state == State::Empty || shape.length == 0) return Met::other;
        shape_ = shape;
        next = p + shape.length;
    } else if (unit == u'"') {
        state = afterString[static_cast<std::size_t>(state)];
        if (state == State::Empty) return Met::other;
        token = Token::String;
        const Units first(next);
        const unsigned quotes = first.Equal('"');
        const unsigned others = (quotes - 1) & ~quotes;  // the units in front of the first quote
        if (quotes == 0 || (first.Equal('\\') & others) != 0) {
            at = {p, next, state, token_};
            return Met::longString;
        }
        hasEscapes_ = false;
        next += std::countr_zero(quotes) + 1;
    } else if (unit == u'[' || unit == u'{') {
        if (!MayOpen(state)) return Met::other;
        const bool isArray = unit == u'[';
        containers_.Push(isArray);
        state = isArray ? State::StartOfArray : State::StartOfObject;
        token = isArray ? Token::StartOfArray : Token::StartOfObject;
    } else if (unit == u']') {
        if (state != State::InArrayValue && (state < State::EndOfObject || Container() != State::StartOfArray))
            return Met::other;
        containers_.Pop();
        state = State::EndOfArray;
        token = Token::EndOfArray;
    } else if (unit == u'}') {
        if (state != State::InPropertyValue && (state < State::EndOfObject || containers_.IsEmpty())) return Met::other;
        containers_.Pop();
        state = State::EndOfObject;
        token = Token::EndOfObject;
    } else {
        const std::ptrdiff_t length = KeywordLength(p, token);
        state = afterScalar[static_cast<std::size_t>(state)];
        if (state == State::Empty || length == 0) return Met::other;
        next = p + length;
    }
    at = {p, next, state, token};
    return Met::token;
}

Outcome Scanner::Next() {
    Place at;
    const Met met = Recognise(scan_, state_, at);
    if (met == Met::other) [[unlikely]]
        return ScanOn<Mode::reading>();
    Leave(at);
    return met == Met::token ? Outcome::Token : ScanString(at.start, u'"');
}

template <Scanner::Mode mode>
Outcome Scanner::ScanOn() {
    return scan_ >= end_ ? NextAtEnd<mode>() : Scan<mode>(scan_);
}

template <Scanner::Mode mode>
Outcome Scanner::NextAtEnd() {
    if (pastEnd_) return Fail(Fault::ReadPastEnd, tokenStart_, scan_);
    if (exhausted_) return ReportEnd();
    if (tokenStart_ >= end_) return Fail(Fault::EndOfFile, tokenStart_, scan_);
    tokenStart_ = scan_;
    if (!Refill()) return Fail(Fault::ReadChunk, tokenStart_, scan_);
    return scan_ >= end_ ? ReportEnd() : Scan<mode>(scan_);
}

template <Scanner::Mode mode>
Outcome Scanner::Scan(const char16_t* p) {
    for (;;) {
        switch (KindOf(*p)) {
            case Kind::scalar:
                if (afterScalar[static_cast<std::size_t>(state_)] == State::Empty)
                    return Fail(Fault::BareWord, p, p + 1);
                state_ = afterScalar[static_cast<std::size_t>(state_)];
                return ScanScalar<mode>(p);

            case Kind::space:
                p = AfterSpace(p + 1, end_);
                continue;

            case Kind::end: {
                bool goesOn = false;
                const Outcome outcome = ScanTextEnd(p, goesOn);
                if (!goesOn) return outcome;
                p = tokenStart_;
                continue;
            }

            case Kind::quote:
                if (afterString[static_cast<std::size_t>(state_)] == State::Empty) return Fail(Fault::Quote, p, p + 1);
                state_ = afterString[static_cast<std::size_t>(state_)];
                return ScanString(p, *p);

            case Kind::comma:
                switch (state_) {
                    case State::InArrayValue:
                        state_ = State::InArrayValueDelimiter;
                        break;
                    case State::InPropertyValue:
                        state_ = State::InPropertyValueDelimiter;
                        break;
                    case State::EndOfObject:
                    case State::EndOfArray:
                        state_ = Container();
                        if (state_ == State::Empty) return Fail(Fault::Comma, p, p + 1);
                        state_ = state_ == State::StartOfArray ? State::InArrayValueDelimiter
                                                               : State::InPropertyValueDelimiter;
                        break;
                    default:
                        return Fail(Fault::Comma, p, p + 1);
                }
                ++p;
                continue;

            case Kind::colon:
                if (state_ != State::InPropertyName) return Fail(Fault::Colon, p, p + 1);
                state_ = State::InPropertyNameDelimiter;
                ++p;
                continue;

            case Kind::openBracket:
                if (!MayOpen(state_)) return Fail(Fault::OpenBracket, p, p + 1);
                containers_.Push(true);
                state_ = State::StartOfArray;
                token_ = Token::StartOfArray;
                break;

            case Kind::openBrace:
                if (!MayOpen(state_)) return Fail(Fault::OpenBrace, p, p + 1);
                containers_.Push(false);
                state_ = State::StartOfObject;
                token_ = Token::StartOfObject;
                break;

            case Kind::closeBrace:
                switch (state_) {
                    case State::EndOfObject:
                    case State::EndOfArray:  // whatever container is open, it is closed
                        state_ = Container();
                        if (state_ == State::Empty) return Fail(Fault::CloseBrace, p, p + 1);
                        break;
                    case State::StartOfObject:
                    case State::InPropertyValue:
                        break;
                    default:
                        return Fail(Fault::CloseBrace, p, p + 1);
                }
                containers_.Pop();
                state_ = State::EndOfObject;
                token_ = Token::EndOfObject;
                break;

            case Kind::closeBracket:
                switch (state_) {
                    case State::EndOfObject:
                    case State::EndOfArray:
                        state_ = Container();
                        if (state_ != State::StartOfArray) return Fail(Fault::CloseBracket, p, p + 1);
                        break;
                    case State::StartOfArray:
                    case State::InArrayValue:
                        break;
                    default:
                        return Fail(Fault::CloseBracket, p, p + 1);
                }
                containers_.Pop();
                state_ = State::EndOfArray;
                token_ = Token::EndOfArray;
                break;
        }
        tokenStart_ = p;
        scan_ = p + 1;
        return Outcome::Token;
    }
}

/// At a NUL: the end of the text in memory, or a NUL of the text. @param goesOn receives whether more text has come,
/// from tokenStart_ on.
Outcome Scanner::ScanTextEnd(const char16_t* p, bool& goesOn) {
    if (p != end_) {
        tokenStart_ = scan_ = end_;
        token_ = Token::None;
        return Outcome::Token;
    }
    tokenStart_ = scan_ = p;
    if (!exhausted_) {
        if (!Refill()) return Fail(Fault::ReadChunk, tokenStart_, scan_);
        goesOn = true;
        return Outcome::Token;
    }
    return IsWaiting(state_) ? Fail(Fault::EndOfFile, p, p) : ReportEnd();
}

Outcome Scanner::ScanString(const char16_t* p, char16_t quote) {
    tokenStart_ = p;
    hasEscapes_ = false;
    const char* const quoteByte = quote == u'"' ? "\"" : "'";
    for (++p;;) {
        while (end_ - p >= Units::count) {
            const Units units(p);
            const unsigned quotes = units.Equal(*quoteByte);
            const unsigned backslashes = units.Equal('\\');
            unsigned both = quotes | backslashes;
            std::ptrdiff_t step = Units::count;
            while (both != 0) {
                const int at = std::countr_zero(both);
                if ((quotes >> at & 1) != 0) {
                    scan_ = p + at + 1;
                    if (scan_ == end_ && exhausted_) return Fail(Fault::EndOfFile, tokenStart_, scan_);
                    token_ = Token::String;
                    return Outcome::Token;
                }
                hasEscapes_ = true;
                if (at == Units::count - 1) ++step;
                both &= ~(3u << at);
            }
            p += step;
        }
        for (; p < end_; ++p) {
            if (*p == quote) {
                scan_ = p + 1;
                if (scan_ == end_ && exhausted_) return Fail(Fault::EndOfFile, tokenStart_, scan_);
                token_ = Token::String;
                return Outcome::Token;
            }
            if (*p == u'\\') {
                hasEscapes_ = true;
                ++p;
            }
        }
        const std::ptrdiff_t length = p - tokenStart_;  // one beyond the text where its last unit is a backslash
        scan_ = end_;
        if (exhausted_) return Fail(Fault::EndInString, tokenStart_, scan_);
        if (!Refill()) return Fail(Fault::ReadChunk, tokenStart_, scan_);
        p = tokenStart_ + length;
    }
}

template <Scanner::Mode mode>
Outcome Scanner::ScanScalar(const char16_t* p) {
    tokenStart_ = p;
    shape_ = {};
    for (;;) {
        for (; p < end_; ++p) {
            if (end_ - p >= Units::count) {
                const unsigned ends = Units(p).PossibleEnds();
                if (ends == 0) {
                    p += Units::count - 1;
                    continue;
                }
                p += std::countr_zero(ends);
            }
            if (!EndsScalar(*p)) continue;
            scan_ = p;
            return mode == Mode::skipping ? Outcome::Token : Classify(Text());
        }
        const std::ptrdiff_t length = p - tokenStart_;
        scan_ = end_;
        if (exhausted_) return Fail(Fault::EndOfFile, tokenStart_, scan_);
        if (!Refill()) {
            const Failure cause = failure_;
            Fail(Fault::ReadChunk, tokenStart_, scan_);
            failure_.cause = cause.fault;
            failure_.code = cause.code;
            return Outcome::Failed;
        }
        p = tokenStart_ + length;
    }
}

Outcome Scanner::Classify(std::u16string_view text) {
    switch (WordOf(text)) {
        case Word::isTrue:
        case Word::isFalse:
            token_ = Token::Boolean;
            return Outcome::Token;
        case Word::isNull:
            token_ = Token::Null;
            return Outcome::Token;
        case Word::isNaN:
            token_ = Token::Number;
            return Outcome::Token;
        case Word::none:
            break;
    }
    if (!IsDigit(text[0]) && (text[0] != u'-' || text.size() < 2 || !IsDigit(text[1])))
        return Fail(Fault::UnknownWord, tokenStart_, scan_);
    if (!kv::ReadDouble(text)) return Fail(Fault::BadNumber, tokenStart_, scan_);
    token_ = Token::Number;
    return Outcome::Token;
}

/// Gets more text; the current token moves to the front. @return false, the failure set, where that fails
bool Scanner::Refill() {
    const auto kept = static_cast<std::size_t>(scan_ - tokenStart_);
    const auto dropped = static_cast<std::size_t>(tokenStart_ - begin_);
    lines_ = linesBefore_;
    lines_.Pass({begin_, dropped});
    linesBefore_ = lines_;
    text_.KeepLast(kept);
    Use(nullptr, 0);  // a source that asks meanwhile what stands here sees nothing, and cannot read on
    const auto useWhatIsThere = [&] {
        Use(text_.Begin(), text_.Size());
        scan_ = begin_ + kept;
    };
    try {
        failure_ = source_->Append(text_, exhausted_);
    } catch (...) {
        useWhatIsThere();
        throw;
    }
    useWhatIsThere();
    return failure_.fault == Fault::None;
}

Outcome Scanner::ReportEnd() noexcept {
    pastEnd_ = true;
    tokenStart_ = scan_ = end_;
    token_ = Token::None;
    return Outcome::End;
}

Outcome Scanner::Fail(Fault fault, const char16_t* tokenStart, const char16_t* scan) noexcept {
    tokenStart_ = tokenStart;
    scan_ = scan;
    shape_ = {};
    failure_ = {fault};
    failurePosition_ = TokenPosition();
    return Outcome::Failed;
}

Outcome Scanner::Skip(State end, bool advance, NameSearch* search) {
    skipped_.Clear();
    skipped_.Push(end == State::EndOfArray);
    Place at = Here();
    // Whether the next token is looked into: the first one of a container is, and the one behind its end.
    bool looks = at.state == (end == State::EndOfArray ? State::StartOfArray : State::StartOfObject);
    for (bool isInside = looks;; isInside = false) {
        Leave(at);  // so that whatever throws finds the scanner at a token
        if (!isInside) {
            looks = true;
            if (at.state == (skipped_.Top() ? State::EndOfArray : State::EndOfObject)) {
                skipped_.Pop();
                if (skipped_.IsEmpty()) return advance ? Next() : Outcome::Token;
            } else if (at.state == State::StartOfObject || at.state == State::StartOfArray) {
                skipped_.Push(at.state == State::StartOfArray);
            } else if (search && at.state == State::InPropertyName && skipped_.Height() == 1) {
                if (Between().empty()) return Fail(Fault::BadToken, tokenStart_, scan_);
                if (search->Meets(Between(), hasEscapes_)) return Next();
            } else {
                looks = false;
            }
        }
        const Met met = Recognise(at.next, at.state, at);
        if (met == Met::token) {
            if (at.token != Token::Number) continue;
            const char16_t* p = at.next;
            for (NumberShape shape; (shape = ShapeOfNext(p, at.state)).length != 0; p = at.next) {
                at = {p, p + shape.length, at.state, at.token};
                shape_ = shape;
            }
            continue;
        }
        Leave(at);
        const Outcome outcome = met == Met::longString ? ScanString(at.start, u'"')
                                : looks                ? ScanOn<Mode::reading>()
                                                       : ScanOn<Mode::skipping>();
        if (outcome == Outcome::Failed) return outcome;
        at = Here();
    }
}

double Scanner::Double() const noexcept {
    switch (token_) {
        case Token::Number:
            return kv::ReadDouble(Text()).value_or(notANumber);
        case Token::Boolean:
            return WordOf(Text()) == Word::isTrue ? 1.0 : 0.0;
        case Token::Null:
            return notANumber;
        default:
            return 0.0;
    }
}

std::int64_t Scanner::Int64() const noexcept {
    if (token_ == Token::Boolean) return WordOf(Text()) == Word::isTrue;
    if (token_ == Token::Null || (token_ == Token::Number && WordOf(Text()) == Word::isNaN))
        return std::numeric_limits<std::int64_t>::max();
    return token_ == Token::Number ? kv::ReadInt64(Text()) : 0;
}

std::uint64_t Scanner::UInt64() const noexcept {
    if (token_ == Token::Boolean) return WordOf(Text()) == Word::isTrue;
    if (token_ == Token::Null || (token_ == Token::Number && WordOf(Text()) == Word::isNaN))
        return std::numeric_limits<std::uint64_t>::max();
    return token_ == Token::Number ? kv::ReadUInt64(Text()) : 0;
}

Scanner::Bookmark Scanner::Mark() const {
    return {tokenStart_ - begin_, scan_ - begin_, containers_, token_, state_, pastEnd_, hasEscapes_};
}

bool Scanner::GoTo(const Bookmark& bookmark) {
    if (bookmark.scan > end_ - begin_) return false;
    containers_ = bookmark.containers;
    tokenStart_ = begin_ + bookmark.tokenStart;
    scan_ = bookmark.pastEnd ? end_ : begin_ + bookmark.scan;
    token_ = bookmark.token;
    shape_ = {};
    state_ = bookmark.state;
    pastEnd_ = bookmark.pastEnd;
    hasEscapes_ = bookmark.hasEscapes;
    return true;
}

}  // namespace json
