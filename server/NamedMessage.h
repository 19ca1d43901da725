#pragma once

#include <string>

#include "kvcore/Platform.h"

namespace mova {

/// A text with another one in place of its first gap. @throw std::bad_alloc
std::u16string Filled(std::u16string_view text, std::u16string_view gap, std::u16string_view filling);
/// A text with a name in place of its first "%s". @throw std::bad_alloc
std::u16string WithName(std::u16string_view text, std::u16string_view name);

/// A text of the library's string table; empty where the table has none. @throw std::bad_alloc
std::u16string TableMessage(UINT messageId);
/// The same with a name in place of its first "%s". @throw std::bad_alloc
std::u16string NamedMessage(UINT messageId, std::u16string_view name);

}  // namespace mova
