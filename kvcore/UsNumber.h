// The digits of doubles, exactly, for what numbers are shown with.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string_view>

namespace kv {

/// A number in fixed US notation as its parts: digits before the point, digits behind it. There is no "0" before the
/// point; zero itself is "0". No exponent, no group.
class UsNumber {
 public:
    /// Room for the text of any finite double: its sign, its digits, a point.
    static constexpr std::size_t textSize = 360;
    /// The most decimals of Fixed.
    static constexpr int mostDecimals = 32;

    /// The fewest digits that read back as the same double. @param value finite
    explicit UsNumber(double value) noexcept;
    /// The exact value rounded to so many decimals, an exact tie away from zero; all of them are there.
    /// @param value finite  @param decimals 0 to mostDecimals
    static UsNumber Fixed(double value, int decimals) noexcept;

    /// The shortest text rounded to so many decimals, a 5 and what follows it up, away from zero. They are all there,
    /// or none of the zeros at their end is. @param value finite  @param decimals 0 to 9
    static UsNumber Rounded(double value, int decimals, bool keepsZeros) noexcept;

    /// So many characters behind the digits of Whole and Fraction can be read, whatever they are.
    static constexpr std::size_t readBeyond = 16;

    bool IsNegative() const noexcept { return isNegative_; }
    /// Whether all digits are zeros.
    bool IsZero() const noexcept { return Digits().find_first_not_of('0') == std::string_view::npos; }
    /// Empty for a number below 1.
    std::string_view Whole() const noexcept { return {At(first_), point_ - first_}; }
    std::string_view Fraction() const noexcept { return {At(point_), end_ - point_}; }
    /// How many units Write writes.
    std::size_t Size() const noexcept { return (isNegative_ ? 1u : 0u) + (end_ - first_) + (end_ > point_ ? 1u : 0u); }

    /// Rounds the text to so many decimals where it has more, as it stands: a 5 and what follows it up, away from zero.
    void Round(std::size_t decimals) noexcept;
    /// Drops the decimals behind the first so many.
    void Cut(std::size_t decimals) noexcept;

    /// Writes the text, as in -1234.5 and .25. @param out has room for Size() units  @return the text's end
    char16_t* Write(char16_t* out) const noexcept;

 private:
    UsNumber() = default;

    const char* At(std::size_t place) const noexcept { return digits_.data() + place; }
    std::string_view Digits() const noexcept { return {At(first_), end_ - first_}; }
    void DropLeadingZero() noexcept;

    // Of the digits only those from first_ to end_ mean anything; one place in front of them is free for a carry.
    std::array<char, textSize + readBeyond> digits_;
    std::size_t first_ = 1, point_ = 1, end_ = 1;
    bool isNegative_ = false;
};

/// The text of a number in fixed US notation: at most UsNumber::textSize units. @param value finite
/// @return the text's end
char16_t* ValueToUSString(char16_t* out, double value) noexcept;

/// Significant digits of a number, and where its point stands: before the first digit for 0, behind it for 1.
struct ExactDigits {
    static constexpr int mostDigits = 32;

    std::array<char, mostDigits> digits;  ///< the first `count` of them
    int count;
    int point;
    bool isNegative;

    std::string_view View() const noexcept { return {digits.data(), static_cast<std::size_t>(count)}; }
};
/// So many significant digits of the exact value, rounded, an exact tie away from zero; for zero only zeros, with the
/// point before them. @param value finite  @param count 1 to ExactDigits::mostDigits
ExactDigits DigitsOf(double value, int count) noexcept;

/// The exact value rounded to so many significant digits, an exact tie away from zero, then to the nearest double.
/// Rounded to no digit it is 0 or the power of ten above it. @param value finite  @param digits 0 to 17
double GetRounded(double value, int digits) noexcept;

/// The value as "%e" has it in C: six decimals, an exponent of two digits at least; "inf" for an infinity.
/// @param out has room for 16 units  @param value not a NaN  @return the text's end
char16_t* FormatExponent(char16_t* out, double value) noexcept;

/// The number that decimal digits stand for; zero without digits. @param digits nothing else; at most 19
double FastAtof(std::string_view digits) noexcept;

/// The nearest double to digits * 10^exponent; an infinity beyond the greatest one.
double ScaledByTen(std::uint64_t digits, int exponent) noexcept;

}  // namespace kv
