// Names compared without regard to case as the system compares them: the same for every user and language.
#pragma once

#include <cstdint>
#include <string_view>

namespace mova {

/// A hash that is equal for names that are the same but for their case, and seeded by where the module was loaded.
std::uint32_t HashName(std::u16string_view name) noexcept;

/// Whether a stored name is the same as another: one without characters from 127 on is compared by folding A to Z, any
/// other by the system's table of upper-case letters. @param isAscii IsAsciiName of the stored name
bool SameName(std::u16string_view stored, bool isAscii, std::u16string_view name) noexcept;

}  // namespace mova
