// A document's text as the bytes of a file, and back.
#pragma once

#include <cstddef>
#include <optional>
#include <span>
#include <string>
#include <string_view>

namespace xml {

/// The encoding that the declaration at a document's start names; empty where there is none.
std::u16string_view DeclaredEncoding(std::u16string_view text) noexcept;

/// The bytes of a text that say what they are: UTF-8, behind a byte order mark where the text has one or declares
/// another encoding; UTF-16 behind its mark where the text declares that. A lone surrogate becomes U+FFFD.
/// @throw std::bad_alloc
std::string BytesOfDocument(std::u16string_view text);

/// The text that bytes are, by their byte order mark, which is left out; UTF-8 without one.
/// @return nothing where the bytes are no such text, lone surrogates among them. @throw std::bad_alloc
std::optional<std::u16string> TextOfDocument(std::span<const std::byte> bytes);

}  // namespace xml
