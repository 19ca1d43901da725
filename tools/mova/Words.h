#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace mova::tool {

/// Splits a line into words at blanks; "..." groups a word or a part of one, with \" and \\ inside it.
/// @return nothing where a quotation is not closed. @throw std::bad_alloc
std::optional<std::vector<std::string>> SplitWords(std::string_view line);

}  // namespace mova::tool
