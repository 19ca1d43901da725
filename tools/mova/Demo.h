// What the parts of the tour share.
#pragma once

#include <movaSystem.h>

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

/// What is in a JSON array or object. @throw Refused
kv::Ptr<IJSONObjectEx> ObjectIn(IJSONArray& array, LONG index);
kv::Ptr<IJSONObjectEx> ObjectIn(IJSONObject& around, std::u16string_view name);
std::string TextIn(IJSONObject& object, std::u16string_view name);

/// A JSON document that is read, shown as numbers, changed and written again, and one that is broken.
void ShowDocument();

/// Times that are read, compared and moved.
void ShowTimes();

/// The magnitudes of the events in classes, by every method.
void ShowClasses();

}  // namespace mova::tool
