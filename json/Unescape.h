#pragma once

#include <cstddef>
#include <string_view>

namespace json {

/// Resolves the escapes of a string's text: JSON's own and `\'`. A `\u` that is not followed by four hexadecimal
/// digits, and any other escaped character, stand for the character behind the backslash; a backslash at the end for
/// itself.
/// @param between the text between the quotes
/// @param out has room for as many units as there are between, and does not overlap them.
/// @return how many units it has become
std::size_t Unescape(std::u16string_view between, char16_t* out) noexcept;

}  // namespace json
