#pragma once

#include <cstdint>
#include <string_view>

namespace json {

/// The digits of a number as one integer, and how many of them stand behind its point.
struct PlainNumber {
    std::uint64_t digits;
    int decimals;  ///< -1 without a point
    bool isNegative;
};

/// The longest number that is read at once.
inline constexpr std::size_t longestPlainNumber = 19;

/// Takes a number of JSON apart, all its digits at once: which of them are there differs from number to number, and
/// each loop over them would be guessed wrong.
/// @param text what the grammar calls a number, of at most longestPlainNumber units; sixteen units up to its end can be
///     read, whatever they are.
/// @return whether it has no exponent, and is no word
bool TakeApart(std::u16string_view text, PlainNumber& number) noexcept;

}  // namespace json
