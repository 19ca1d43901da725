// Identifiers as text: {33221100-5544-7766-8899-AABBCCDDEEFF}, where the digits here tell the byte in memory.
#pragma once

#include <array>
#include <optional>
#include <string_view>

#include "kvcore/IdBits.h"

namespace kv {

/// Of an identifier's text in braces.
inline constexpr std::size_t guidTextLength = 38;

/// An identifier as text in braces, hexadecimal digits in upper case.
std::array<char16_t, guidTextLength> FormatGuid(const IdBits& id) noexcept;

/// Reads an identifier from the text in braces or the same without them; digits may be in either case.
/// @return nothing for any other text, blanks around it included. Allocates nothing.
std::optional<IdBits> ParseGuid(std::u16string_view text) noexcept;

}  // namespace kv
