// How a locale writes numbers: its rules as a value, numbers written by them, and numbers read.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string_view>

#include "kvcore/UsNumber.h"

namespace kv {

/// A short text of a locale, such as a separator.
class RuleText {
 public:
    /// More than any locale has; a longer text of a user's own is none that numbers are written with.
    static constexpr std::size_t most = 15;

    constexpr RuleText() noexcept = default;
    constexpr RuleText(std::u16string_view text) noexcept {
        for (; size_ < text.size() && size_ < most; ++size_) units_[size_] = text[size_];
    }
    constexpr std::u16string_view View() const noexcept { return {units_.data(), size_}; }

 private:
    std::array<char16_t, most> units_{};
    std::uint8_t size_ = 0;
};

/// The rules of a locale, some of which need not be known. A call of the platform finds out one or two of them.
struct NumberFmt {
    enum Rule : unsigned {
        decimalRule = 1,   ///< the decimal separator
        groupingRule = 2,  ///< grouping and thousands separator
        zeroRule = 4,      ///< whether a zero leads
        negativeRule = 8,  ///< order and sign of negative numbers
        allRules = 15,
    };

    unsigned known = 0;               ///< rules; what belongs to others has no meaning
    std::uint32_t numDigits = 0;      ///< decimals that are shown; no rule, but what is asked for
    std::uint32_t leadingZero = 1;    ///< whether 0.5 is not .5
    std::uint32_t grouping = 0;       ///< as in NUMBERFMTW: 0 for none, 3 for 1,234,567, 32 for 12,34,567
    std::uint32_t negativeOrder = 1;  ///< 0 to 4, as in (1.1), -1.1, - 1.1, 1.1-, 1.1 -
    RuleText decimalSeparator, thousandsSeparator, negativeSign;
};

/// The longest text of a number with its ending null: what numbers are formatted into.
inline constexpr std::size_t formattedSize = 128;
/// The most decimals that a locale's own function is asked for: it refuses more.
inline constexpr std::uint32_t mostLocaleDecimals = 9;

/// Writes a number as GetNumberFormatW does, without calling it, where the result is sure to be the same: in groups of
/// 1 to 9 digits, or of 3 and then 2, or in none. A negative number without a digit above 0 is left to the locale.
/// @param number has no more decimals than fmt.numDigits
/// @return how many units were written; 0 where it is left to the locale's function, also for lack of a rule that
/// matters
std::size_t FormatByRules(const UsNumber& number, const NumberFmt& fmt, std::span<char16_t> out) noexcept;

/// Puts a plus sign before a text. @param text has room for one unit more  @return the new size
std::size_t ShowPlus(std::span<char16_t> text, std::size_t size) noexcept;
/// Writes a text behind as many blanks as it has fewer units than the width. @return the end
char16_t* RightAlign(char16_t* out, std::u16string_view text, std::size_t width) noexcept;

/// The number that a text stands for: in the rules' notation, else in the US notation of ValueToUSString or "%e".
/// Blanks may stand around it, a sign in front or a minus sign behind it, or parentheses for one, and behind a blank a
/// unit, which begins with no digit, sign or separator. Groups are where the rules have them, or of three digits.
/// Where the text reads in neither way, any blank and apostrophe passes for any other.
/// @param fmt knows all rules
/// @param unit one that may be there whatever it begins with; empty for none
/// @return nothing where the text stands for no number, or for one beyond the greatest double. @throw std::bad_alloc
std::optional<double> StringToValue(std::u16string_view text, const NumberFmt& fmt, std::u16string_view unit);

/// The same for the texts that are most: an optional sign, at most 19 digits, and among them at most one separator.
/// @param decimalSeparator the rules', the only one that must be known
/// @return nothing where the text is another one
std::optional<double> PlainStringToValue(std::u16string_view text, std::u16string_view decimalSeparator) noexcept;

}  // namespace kv
