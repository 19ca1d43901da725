#pragma once

#include <string>

#include "kvcore/Platform.h"

namespace mova {

/// A text with a name in place of its first "%s". @throw std::bad_alloc
std::u16string WithName(std::u16string_view text, std::u16string_view name);

/// The same for a text of the library's string table; empty where the table has none. @throw std::bad_alloc
std::u16string NamedMessage(UINT messageId, std::u16string_view name);

}  // namespace mova
