// The form of ISO 8601 texts as the pattern itself says, which the library's reader has to agree with.
#pragma once

#include <boost/regex.hpp>
#include <optional>
#include <string>
#include <string_view>

#include "time/IsoText.h"

namespace mova::test {

/// Reads a text by the pattern, which is compiled once.
inline std::optional<calendar::IsoParts> MatchIsoPattern(std::u16string_view text) {
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
    static const boost::wregex compiled(calendar::isoPattern.begin(), calendar::isoPattern.end());
    const std::wstring wide(text.begin(), text.end());
    boost::wsmatch groups;
    if (!boost::regex_match(wide, groups, compiled)) return {};
    const auto number = [&](Group group, std::int32_t missing) {
        return groups[group].matched ? static_cast<std::int32_t>(std::stol(groups[group].str())) : missing;
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
    return parts;
}

}  // namespace mova::test
