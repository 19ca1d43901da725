// How the user's locale writes numbers.
#pragma once

#include <span>
#include <string_view>

#include "kvcore/NumberFmt.h"

namespace kv {

/// What the display language says.
class MOVALocale {
 public:
    /// Whether the user's display language is written from right to left, coordinates and all.
    static bool IsCoordinateRightToLeft() noexcept;
};

/// Finds out rules of the user's locale as they are now: a change of the regional settings counts with the next call.
/// Where the display language is written from right to left, the minus sign of a negative number stands behind it.
/// @param rules of NumberFmt::Rule; those that are known already are not asked for again. A rule that cannot be found
///     out, such as a separator of more than RuleText::most units, is left as it was and not known.
void ReadUserRules(NumberFmt& fmt, unsigned rules) noexcept;

/// Writes a number as GetNumberFormatW does for the user's locale.
/// @param usText in US notation, with no more than fmt.numDigits decimals
/// @param fmt what is not known of it is found out; more than mostLocaleDecimals are refused
/// @return how many units were written; 0 where the number is refused, or longer than out with its ending null
std::size_t FormatByUserLocale(std::u16string_view usText, const NumberFmt& fmt, std::span<char16_t> out) noexcept;

}  // namespace kv
