// What a numeric format makes of a number: text by settings and a locale's rules.
#pragma once

#include <algorithm>
#include <array>
#include <cstdint>
#include <span>
#include <string_view>

#include "kvcore/NumberFmt.h"

namespace formats {

/// The options that settings know; both fields hold any number.
inline constexpr std::int32_t roundDecimals = 0;
inline constexpr std::int32_t roundSignificantDigits = 1;
inline constexpr std::int32_t alignRight = 0;
inline constexpr std::int32_t alignLeft = 1;

/// How numbers are shown, as all number formats with these settings start out.
struct NumericSettings {
    static constexpr std::int32_t mostDigits = 15;

    std::int32_t roundingOption = roundDecimals;
    std::int32_t roundingValue = 6;  ///< 0 to mostDigits
    std::int32_t alignmentOption = alignLeft;
    std::int32_t alignmentWidth = 12;  ///< not negative
    std::int16_t useSeparator = 0;     ///< these three are true where they are not 0
    std::int16_t zeroPad = 0;
    std::int16_t showPlus = 0;
};

/// The widest field that numbers are aligned in. More is refused when a number is formatted.
inline constexpr std::int32_t widestField = 32'767;

/// A locale's own function, GetNumberFormatW or what stands for it.
/// @param usText a number in US notation with fmt.numDigits decimals or fewer
/// @param fmt how it is to be written; what is not known, the function finds out
/// @return how many units were written; 0 where the locale refuses, or has nothing to write
using FormatByLocale = std::size_t (*)(std::u16string_view usText, const kv::NumberFmt& fmt,
                                       std::span<char16_t> out) noexcept;

/// The text of a number with the blanks in front of it that it is aligned by. The unit is not part of it.
class NumericText {
 public:
    enum class Kind : std::uint8_t {
        null,     ///< a NaN: it is shown by a text of its own, and by nothing else
        bare,     ///< a magnitude above 2^53 with an exponent: no unit stands behind it
        number,   ///< what is shown, a unit behind it
        tooWide,  ///< the field is wider than widestField
    };

    /// Formats a number.
    /// @param settings with values in their ranges
    /// @param rules the user's; those that RulesNeeded names are known
    /// @param byLocale called where the text cannot be made by the rules alone
    NumericText(const NumericSettings& settings, double value, const kv::NumberFmt& rules,
                FormatByLocale byLocale) noexcept;

    Kind What() const noexcept { return kind_; }
    std::size_t Size() const noexcept { return std::max(size_, width_); }
    /// Writes blanks and text. @param out has room for Size() units  @return the end
    char16_t* Write(char16_t* out) const noexcept;

 private:
    std::u16string_view View() const noexcept { return {units_.data(), size_}; }
    bool FormatPlain(const NumericSettings& settings, double value, kv::NumberFmt& fmt) noexcept;
    void FormatBySteps(const NumericSettings& settings, double& value, kv::NumberFmt& fmt,
                       FormatByLocale byLocale) noexcept;
    void RebuildDecimals(std::string_view decimals, std::u16string_view separator) noexcept;
    void Trim(std::u16string_view separator) noexcept;

    std::array<char16_t, kv::formattedSize + kv::UsNumber::mostDecimals> units_;
    std::size_t size_ = 0;
    std::size_t width_ = 0;  ///< of the field, where the text stands on its right
    Kind kind_ = Kind::number;
};

/// The rules (kv::NumberFmt::Rule) that the text of a number depends on.
unsigned RulesNeeded(const NumericSettings& settings, double value) noexcept;

/// The number that is one displayed unit higher, where decimals are counted.
double IncrementDecimals(double value, std::int32_t decimals) noexcept;
/// The same where significant digits are counted: by one in the last of them, towards zero for one below 0.
/// @param shown the number as its text has it, finite  @param digits 0 to NumericSettings::mostDigits
double IncrementSignificant(double shown, std::int32_t digits) noexcept;

}  // namespace formats
