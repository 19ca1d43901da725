// Bytes as text and back: RFC 4648, section 4.
#pragma once

#include <cstddef>
#include <optional>
#include <span>
#include <string_view>

namespace xml {

/// How many characters so many bytes become.
constexpr std::size_t Base64Size(std::size_t bytes) noexcept {
    return (bytes + 2) / 3 * 4;
}
/// Writes bytes as base64 with padding, in one line. What is put piece by piece is what the whole would be where each
/// piece but the last is a multiple of three bytes.
/// @param out has room for Base64Size(bytes.size()). @return the end of what was written
template <class Unit>
Unit* PutBase64(Unit* out, std::span<const std::byte> bytes) noexcept;

extern template char* PutBase64(char* out, std::span<const std::byte> bytes) noexcept;
extern template char16_t* PutBase64(char16_t* out, std::span<const std::byte> bytes) noexcept;

/// How many bytes a text of base64 is at most: as many as it is where no white space is in it but around it.
std::size_t BytesOfBase64(std::u16string_view text) noexcept;
/// Reads base64. Blanks, tabs and line ends may be anywhere; padding must be there where it belongs, and the bits in
/// front of it that no byte would get must be 0.
/// @param out has room for BytesOfBase64(text). @return how many were written; nothing where the text is none
std::optional<std::size_t> ReadBase64(std::byte* out, std::u16string_view text) noexcept;

}  // namespace xml
