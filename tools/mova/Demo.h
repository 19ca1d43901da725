// What the parts of the tour share.
#pragma once

#include <string>
#include <string_view>

#include "tools/mova/Client.h"

namespace mova::tool {

inline void Heading(std::string_view text) {
    Print("\n== " + std::string(text) + "\n");
}
inline kv::BString Text(std::u16string_view text) {
    return kv::BString(text);
}
/// The lines that a refusal is shown with.
void PrintRefusal(const Refused& refused);

/// A JSON document that is read, changed and written again, and one that is broken.
void ShowDocument();

/// The magnitudes of the events in classes, by every method.
void ShowClasses();

}  // namespace mova::tool
