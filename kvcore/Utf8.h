#pragma once

#include <cstddef>
#include <optional>
#include <span>

namespace kv {

/// UTF-8 as UTF-16, where all of it is valid: no byte that begins no character, no character cut short or in a longer
/// form than need be, no surrogates, nothing beyond U+10FFFF. ASCII goes sixteen bytes at a time.
/// @param out has room for a unit for each byte; what it holds where the text is invalid means nothing.
/// @return how many units it is; nothing where it is invalid
std::optional<std::size_t> DecodeUtf8(std::span<const std::byte> bytes, char16_t* out) noexcept;

}  // namespace kv
