// Options that operations are given as property sets.
#pragma once

#include <movaContainers.h>

namespace mova {

/// An option as a boolean, by the user's locale; false without options, where it is not there, and for what is none.
/// @throw std::bad_alloc
bool FlagOption(IPropertySet* options, const char16_t* name);
/// An option that is an integer of at least 0; -1 for any other, and without options. @throw std::bad_alloc
LONG NaturalOption(IPropertySet* options, const char16_t* name);

}  // namespace mova
