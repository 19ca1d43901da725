#pragma once

#include <cstddef>
#include <span>

namespace xml {

/// How many characters so many bytes become.
constexpr std::size_t Base64Size(std::size_t bytes) noexcept {
    return (bytes + 2) / 3 * 4;
}
/// Writes bytes as base64 (RFC 4648, section 4) with padding, in one line. What is put piece by piece is what the whole
/// would be where each piece but the last is a multiple of three bytes.
/// @param out has room for Base64Size(bytes.size()). @return the end of what was written
char* PutBase64(char* out, std::span<const std::byte> bytes) noexcept;

}  // namespace xml
