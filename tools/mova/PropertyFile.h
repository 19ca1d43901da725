#pragma once

#include <movaSystem.h>

#include "tools/mova/Client.h"

namespace mova::tool {

/// Puts the lines of a property file into a set, in their order.
/// @param file what to call it where a line is none. @throw WrongUsage, Refused
void LoadPropertyLines(IPropertySet& set, std::string_view text, const std::string& file);

/// Prints a set in its order, a line a property: NAME, VARTYPE, VALUE, separated by tabs.
void PrintProperties(IPropertySet2& set, std::string_view indent = {});

}  // namespace mova::tool
