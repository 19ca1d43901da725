// Numbers in tagged values, whatever their type, and as exact texts.
#pragma once

#include <cstdint>
#include <optional>

#include "kvcore/Platform.h"

namespace kv {

/// The integer that a value is, of all types but VT_UI8, whose numbers have no room with a sign; nothing for others.
std::optional<std::int64_t> IntegerOf(const VARIANT& value) noexcept;

/// Writes the exact text of a number: an integer, VT_R4, VT_R8, VT_CY or VT_DECIMAL, as kvcore/NumberText.h has them.
/// @param out has room for numberTextSize. @return the text's end; null where the value is no number
char* FormatNumber(char* out, const VARIANT& value) noexcept;
/// The same. @return null where the scale is not 0 to greatestScale
char* FormatDecimal(char* out, const DECIMAL& number) noexcept;

/// Makes a number high * 2^64 + low, with so many of its digits behind the point. What is reserved in it stays, which
/// is the type of the VARIANT around it.
void SetDecimal(DECIMAL& number, std::uint32_t high, std::uint64_t low, int scale, bool isNegative) noexcept;

}  // namespace kv
