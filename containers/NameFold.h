// How names are compared without regard to case, and a hash that agrees with it.
#pragma once

#include <cstdint>
#include <string_view>

namespace mova {

/// The upper-case form of a character, one to one; ASCII letters map to ASCII letters. What the platform's own tables
/// say is handed in by whoever has the platform.
using Upcase = char16_t (*)(char16_t character) noexcept;

/// Whether every character is below 127, which allows the fast comparison.
bool IsAsciiName(std::u16string_view name) noexcept;

/// Whether two names are the same but for the case of the letters A to Z.
bool SameAsciiName(std::u16string_view left, std::u16string_view right) noexcept;

/// Whether two names are the same once every character is in upper case.
bool SameName(std::u16string_view left, std::u16string_view right, Upcase upcase) noexcept;

/// A hash that is equal for names that either comparison calls the same. Four characters at a time where they are
/// ASCII.
/// @param seed keeps callers from choosing names that collide.
std::uint32_t HashName(std::u16string_view name, std::uint64_t seed, Upcase upcase) noexcept;

}  // namespace mova
