// What the user's settings say about how classes are found.
#pragma once

#include <movaContainers.h>

#include "kvcore/Ptr.h"

namespace TrelCore {

/// Where the settings are, under HKEY_CURRENT_USER.
inline constexpr auto settingsKey = u"Software\\MOVA\\Settings";
/// A number; other than 0 where classes are found without the registry, whose class keys are then not searched.
inline constexpr auto registrationFreeValue = u"RegistrationFree";
/// The GUID text of the class that is the add-in manager.
inline constexpr auto addInManagerValue = u"AddInManager";

/// Whether classes are found without the registry; false where the user has no such setting. @throw std::bad_alloc
bool GetRegFreeFlag();

/// A new object of the class that is the user's add-in manager; null where the settings name none, or none that can be
/// created on the calling thread. @throw std::bad_alloc
kv::Ptr<IAddInManager> GetAddInManager();

}  // namespace TrelCore
