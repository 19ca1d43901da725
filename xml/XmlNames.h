// The names of XML 1.0, fifth edition, and any text as such a name.
#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace xml {

/// Whether a character may begin a name, or stand in it. The colon, which parts a prefix, may not.
bool IsNameStart(char32_t character) noexcept;
bool IsNamePart(char32_t character) noexcept;
/// Whether a text is a name without a colon. Allocates nothing.
bool IsName(std::u16string_view text) noexcept;

struct QualifiedName {
    std::u16string_view prefix, local;
};
/// Parts a name at its colon; without one the prefix is empty. @return nothing where the text is no such name
std::optional<QualifiedName> SplitName(std::u16string_view text) noexcept;

/// Appends any text as a name without a colon. A unit that may not stand where it does becomes _xHHHH_, and so does an
/// underscore where it would be read as the beginning of such an escape; an empty text is _x_. @throw std::bad_alloc
void AppendEncodedName(std::u16string& out, std::u16string_view text);
/// Appends the text that a name was made of; its digits may be in either case, and what is no escape stays.
/// @throw std::bad_alloc
void AppendDecodedName(std::u16string& out, std::u16string_view name);

}  // namespace xml
