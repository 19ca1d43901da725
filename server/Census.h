// A census of live objects by class, kept in debug builds only.
#pragma once

#include <string>

#include "kvcore/Platform.h"

namespace mova {

#ifdef NDEBUG
inline constexpr bool keepsCensus = false;
#else
inline constexpr bool keepsCensus = true;
#endif

/// Counts an object of a class, or of an internal kind that has an identifier too, in (+1) or out (-1).
/// @param reportedName the name to report it under; null for that of the class table.
void CountObject(const GUID& kind, const char16_t* reportedName, int change) noexcept;

/// One line a kind of which objects are alive: its name, a tab and the number. @throw std::bad_alloc
std::u16string CensusReport();

}  // namespace mova
