// The forms of ISO 8601 texts as patterns say them, which the library's readers have to agree with.
#pragma once

#include <optional>
#include <string_view>

#include "time/IsoText.h"

namespace mova::test {

std::optional<calendar::IsoParts> MatchIsoPattern(std::u16string_view text);
/// The form that the older reader takes.
std::optional<calendar::IsoParts> ScanIsoPattern(std::u16string_view text);

}  // namespace mova::test
