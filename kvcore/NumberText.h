// Numbers to and from text, exactly: what is written reads back as the same number, whatever the user's locale.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string_view>

namespace kv {

/// The room that each of the formatting functions may use, which is more than any of their texts has.
inline constexpr std::size_t numberTextSize = 64;
/// The most decimals that FormatDecimals writes.
inline constexpr int mostDecimals = 16;
/// The most digits behind the point that a decimal number of 96 bits has.
inline constexpr int greatestScale = 28;

/// Reads a number as JSON has it: digits without a needless zero in front, behind them optionally a point with digits
/// and an exponent; nothing around.
/// @return the nearest double, however long the text is; zero for what is too small; nothing where the text is no such
///     number or lies beyond the greatest double.
std::optional<double> ReadDouble(std::u16string_view text) noexcept;
/// The same for a number as XML Schema has it: a plus sign, zeros in front and a point at either end of the digits may
/// be there, too.
std::optional<double> ReadXmlDouble(std::u16string_view text) noexcept;
/// The nearest float, rounded once.
std::optional<float> ReadXmlFloat(std::u16string_view text) noexcept;

/// The nearest double to digits * 10^-decimals. @param decimals 0 to 27
double MakeDouble(std::uint64_t digits, int decimals, bool isNegative) noexcept;

/// A magnitude in units of its last decimal, rounded to a whole one: below 10^15.
/// @param decimals 0 to mostDecimals
/// @return nothing where the number is greater, or so near to a tie that the exact value and its shortest text could be
///     rounded differently
std::optional<std::uint64_t> RoundedUnits(double magnitude, int decimals) noexcept;
/// Where the first digit of a number is that is not 0, and where those end; both 0 for zero.
struct DigitSpan {
    int first, end;
};
/// Writes sixteen digits, zeros in front among them. @param number below 10^16
DigitSpan PutSixteenDigits(char* out, std::uint64_t number) noexcept;

/// Reads a whole number in decimal digits, with nothing around them. @return nothing where the text is none, or lies
/// beyond the greatest one of 32 bits with a sign
std::optional<std::int32_t> ReadNatural(std::u16string_view text) noexcept;
/// Reads blanks, a sign and digits up to where they end; without digits it is 0. Beyond the range it is the greatest
/// or the least number.
std::int64_t ReadInt64(std::u16string_view text) noexcept;
/// The same; a number with a minus sign is its two's complement, one beyond the range the greatest number.
std::uint64_t ReadUInt64(std::u16string_view text) noexcept;

// Each writes a text without an ending NUL to memory with numberTextSize bytes, and returns the text's end.

/// The fewest digits that read back as the same double, the nearest of those; -0.0 keeps a point, for -0 is an
/// integer. From 0.000001 to below 1e15 without an exponent, else as in 1.5e+21 or 1e-7. What is no number is NaN, INF
/// or -INF.
char* FormatShortest(char* out, double value) noexcept;
/// The same text where it has no more than so many decimals, else the exact value rounded to that many, an exact tie to
/// the even digit, without zeros at the end but for that of -0.0.
/// @param decimals 0 to mostDecimals
char* FormatDecimals(char* out, double value, int decimals) noexcept;
/// Nine significant digits at most, as "%0.9g" has them. What is no number is NaN, INF or -INF.
char* FormatFloat(char* out, float value) noexcept;
/// A decimal number of 96 bits, high * 2^64 + low, with so many of its digits behind the point; no zeros at the end.
/// @return null where the scale is not 0 to greatestScale
char* FormatDecimal(char* out, std::uint32_t high, std::uint64_t low, int scale, bool isNegative) noexcept;
/// An amount in ten-thousandths, as a decimal number.
char* FormatCurrency(char* out, std::int64_t tenThousandths) noexcept;
char* FormatInt64(char* out, std::int64_t value) noexcept;
char* FormatUInt64(char* out, std::uint64_t value) noexcept;

}  // namespace kv
