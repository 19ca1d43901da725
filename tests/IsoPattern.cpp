#include "tests/IsoPattern.h"

#include <algorithm>
#include <boost/regex.hpp>
#include <limits>
#include <string>

namespace mova::test {
namespace {

/// Reads a text by a pattern with the groups of calendar::isoPattern; a number of more than 16 bits is refused.
std::optional<calendar::IsoParts> ReadByPattern(std::u16string_view text, const boost::wregex& pattern) {
    enum Group : std::uint8_t {
        Year = 1,
        Month = 3,
        Day = 5,
        Hour = 7,
        Minute = 8,
        Second = 9,
        Fraction = 11,
        Sign = 13,
        OffsetHours = 14,
        OffsetMinutes = 15
    };
    const std::wstring wide(text.begin(), text.end());
    boost::wsmatch groups;
    if (!boost::regex_match(wide, groups, pattern)) return {};
    constexpr std::int32_t greatest = std::numeric_limits<std::int16_t>::max();
    bool areNumbers = true;
    const auto number = [&](Group group, std::int32_t missing) {
        if (!groups[group].matched) return missing;
        std::int32_t read = 0;
        for (const wchar_t digit : groups[group].str()) read = std::min(read * 10 + (digit - L'0'), greatest + 1);
        areNumbers = areNumbers && read <= greatest;
        return read;
    };
    calendar::IsoParts parts{.year = number(Year, 0),
                             .month = number(Month, 1),
                             .day = number(Day, 1),
                             .hour = number(Hour, 0),
                             .minute = number(Minute, 0),
                             .second = number(Second, 0),
                             .fraction = {},
                             .offset = number(OffsetHours, 0) * 60 + number(OffsetMinutes, 0)};
    if (groups[Fraction].matched)
        parts.fraction = text.substr(static_cast<std::size_t>(groups.position(static_cast<int>(Fraction))),
                                     static_cast<std::size_t>(groups.length(static_cast<int>(Fraction))));
    if (groups[Sign].matched && *groups[Sign].first == L'-') parts.offset = -parts.offset;
    if (!areNumbers) return {};
    return parts;
}

}  // namespace

std::optional<calendar::IsoParts> MatchIsoPattern(std::u16string_view text) {
    static const boost::wregex pattern(calendar::isoPattern.begin(), calendar::isoPattern.end());
    return ReadByPattern(text, pattern);
}

std::optional<calendar::IsoParts> ScanIsoPattern(std::u16string_view text) {
    static const boost::wregex pattern(
        L"([0-9]+)(-([0-9]+)(-([0-9]+))?)?(T([0-9]+)(?::([0-9]+)(?::([0-9]+))?)?(\\.([0-9]+))?"
        L"(?:([zZ])|([+-])(?|(2[0-3]|[01][0-9])(?::?([0-5][0-9]))?|([0-9])(?::([0-5][0-9]))?))?)?");
    return ReadByPattern(text, pattern);
}

}  // namespace mova::test
