#include "time/IsoPattern.h"

#include <boost/regex.hpp>

namespace calendar {
namespace {

/// The parts of the pattern that are in parentheses, by their numbers.
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

const boost::wregex& CompiledPattern() {
    static const boost::wregex compiled(isoPattern.begin(), isoPattern.end());
    return compiled;
}

}  // namespace

std::optional<IsoParts> MatchIsoPattern(std::u16string_view text) {
    const std::wstring wide(text.begin(), text.end());
    boost::wsmatch groups;
    if (!boost::regex_match(wide, groups, CompiledPattern())) return {};
    const auto number = [&](Group group, std::int32_t missing) {
        return groups[group].matched ? static_cast<std::int32_t>(std::stol(groups[group].str())) : missing;
    };
    IsoParts parts{.year = number(Year, 0),
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
    return parts;
}

}  // namespace calendar
