// UTF-8 and UTF-16, both ways, with nothing lost that is text.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace kv {

/// UTF-8 as UTF-16. Each byte that begins no character, and each beginning of one up to where it goes wrong, becomes
/// one U+FFFD.
/// @throw std::bad_alloc
std::u16string Utf16(std::string_view text);

/// UTF-16 as UTF-8; a lone surrogate becomes U+FFFD. @throw std::bad_alloc
std::string Utf8(std::u16string_view text);

/// Appends a text in double quotes, escaped as by PutEscaped. @throw std::bad_alloc
void AppendQuoted(std::string& out, std::u16string_view text);

/// How many bytes a unit can become.
inline constexpr std::size_t utf8UnitSize = 3;
inline constexpr std::size_t escapedUnitSize = 6;

/// Writes UTF-8 as Utf8 has it. @param out has room for utf8UnitSize bytes a unit. @return the end of what was written
char* PutUtf8(char* out, std::u16string_view text) noexcept;
/// Writes a text as JSON has it between quotation marks: the quotation mark, the backslash and characters below U+0020
/// are escaped, in the short form where there is one, and so are lone surrogates; everything else is UTF-8.
/// Hexadecimal digits are in lower case.
/// @param out has room for escapedUnitSize bytes a unit. @return the end of what was written
char* PutEscaped(char* out, std::u16string_view text) noexcept;
/// The same for a text of ASCII.
char* PutEscapedAscii(char* out, std::string_view text) noexcept;
/// Writes a text as XML has it between tags and in quoted attributes: quotation marks, apostrophes, ampersands and
/// angle brackets as entities. Control characters but tabs and line ends, U+FFFE and U+FFFF are dropped, which XML has
/// no form for; everything else is UTF-8, a lone surrogate being U+FFFD.
/// @param normalisesLineEnds whether each CR, and CR LF, becomes LF
/// @param out has room for escapedUnitSize bytes a unit. @return the end of what was written
char* PutXmlText(char* out, std::u16string_view text, bool normalisesLineEnds) noexcept;
/// Takes so many units from the front of a text, or one less where that would part a character; all that there are of
/// fewer. What is put piece by piece is what the whole would be.
/// @param most at least 2
std::u16string_view TakePiece(std::u16string_view& text, std::size_t most) noexcept;

/// The number of units that well-formed UTF-8 has as UTF-16.
std::size_t Utf16Length(std::string_view text) noexcept;
/// Writes well-formed UTF-8 as UTF-16. @return the end of what was written
char16_t* PutUtf16(char16_t* out, std::string_view text) noexcept;

}  // namespace kv
