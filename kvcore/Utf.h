// UTF-8 and UTF-16, both ways, with nothing lost that is text.
#pragma once

#include <string>
#include <string_view>

namespace kv {

/// UTF-8 as UTF-16. Each byte that begins no character, and each beginning of one up to where it goes wrong, becomes
/// one U+FFFD.
/// @throw std::bad_alloc
std::u16string Utf16(std::string_view text);

/// UTF-16 as UTF-8; a lone surrogate becomes U+FFFD. @throw std::bad_alloc
std::string Utf8(std::u16string_view text);

/// Appends a text in double quotes as JSON has it: the quotation mark, the backslash and characters below U+0020 are
/// escaped, in the short form where there is one, and so are lone surrogates; everything else is UTF-8. Hexadecimal
/// digits are in lower case. @throw std::bad_alloc
void AppendQuoted(std::string& out, std::u16string_view text);

}  // namespace kv
