// What the scanner says of a fault, and where it is.
#include <algorithm>
#include <iterator>

#include "json/Scanner.h"
#include "json/Space.h"

namespace json {
namespace {

using namespace std::string_view_literals;

constexpr std::u16string_view stateNames[] = {
    u"Empty"sv,
    u"startOfObject"sv,
    u"startOfArray"sv,
    u"inPropertyName"sv,
    u"inPropertyNameDelimiter"sv,
    u"inPropertyValue"sv,
    u"inPropertyValueDelimiter"sv,
    u"inArrayValue"sv,
    u"inArrayValueDelimiter"sv,
    u"endOfObject"sv,
    u"endOfArray"sv,
};
static_assert(std::size(stateNames) == static_cast<std::size_t>(State::EndOfArray) + 1);

constexpr std::u16string_view faultTexts[] = {
    u""sv,
    u"Attempted to read past the end of input data"sv,
    u"Unexpected end of file"sv,
    u"Unexpected end of file while looking for closing single or double quote"sv,
    u"ReadChunk failed"sv,
    u"Unexpected single or double quote"sv,
    u"Unexpected ','"sv,
    u"Unexpected ':'"sv,
    u"Unexpected '['"sv,
    u"Unexpected '{'"sv,
    u"Unexpected '}'"sv,
    u"Unexpected ']'"sv,
    u"Expected to find comma, colon or start of array"sv,
    u"Unrecognized token type"sv,
    u"invalid double value"sv,
    u"Expected property name"sv,
    u"GetToken failed"sv,
    u"Expected { or ["sv,
    u"Could not determine encoding"sv,
    u"Input buffer is empty or contains invalid UTF8 characters."sv,
    u""sv,
    u""sv,
};
static_assert(std::size(faultTexts) == static_cast<std::size_t>(Fault::SourceFailed) + 1);

constexpr std::size_t longestExcerpt = 50;

}  // namespace

std::u16string_view NameOf(State state) noexcept {
    const auto at = static_cast<std::size_t>(state);
    return at < std::size(stateNames) ? stateNames[at] : u""sv;
}

std::u16string_view TextOf(Fault fault) noexcept {
    return faultTexts[static_cast<std::size_t>(fault)];
}

std::u16string Scanner::Message(std::u16string_view fault) const {
    std::u16string message;
    message.append(fault).append(u"; state : ").append(NameOf(state_)).append(u"; buffer : ");
    const auto left = static_cast<std::size_t>(end_ - tokenStart_);
    if (left == 0) return message;
    const char16_t* from = tokenStart_;
    if (from != begin_) {
        do --from;
        while (from != begin_ && IsSpace(*from));
    }
    return message.append(from, std::min(longestExcerpt, left));
}

Position Scanner::TokenPosition() const noexcept {
    const auto offset = linesBefore_.Offset() + static_cast<std::uint64_t>(tokenStart_ - begin_);
    if (lines_.Offset() > offset) lines_ = linesBefore_;
    lines_.Pass(
        {begin_ + (lines_.Offset() - linesBefore_.Offset()), static_cast<std::size_t>(offset - lines_.Offset())});
    return lines_.Here();
}

}  // namespace json
