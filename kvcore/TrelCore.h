// What the user's settings say.
#pragma once

#include <atomic>

#include <movaContainers.h>

#include "kvcore/Ptr.h"

namespace TrelCore {

/// Where the settings are, under HKEY_CURRENT_USER.
inline constexpr auto settingsKey = u"Software\\MOVA\\Settings";
/// A number; other than 0 where classes are found without the registry, whose class keys are then not searched.
inline constexpr auto registrationFreeValue = u"RegistrationFree";
/// The GUID text of the class that is the add-in manager.
inline constexpr auto addInManagerValue = u"AddInManager";
/// A number; other than 0 where times are read from XML texts as they once were.
inline constexpr auto olderTimeReaderValue = u"UseOldSetFromXMLTimeString";

/// Whether classes are found without the registry; false where the user has no such setting. @throw std::bad_alloc
bool GetRegFreeFlag();
/// Whether XML texts are to be read as they once were; false where the user has no such setting. @throw std::bad_alloc
bool WantsOlderTimeReader();

/// What the settings said when they were first asked, on whichever thread: constant data, for what the language has for
/// this leaves a thread-local index behind in a module that is unloaded.
class LastingAnswer {
 public:
    constexpr explicit LastingAnswer(bool (&ask)()) noexcept : ask_(ask) {}
    /// @throw std::bad_alloc, and the next time it is asked again
    bool Get();

 private:
    enum class Known { notYet, yes, no };

    bool (&ask_)();
    std::atomic<Known> first_ = Known::notYet;
};

/// A new object of the class that is the user's add-in manager; null where the settings name none, or none that can be
/// created on the calling thread. @throw std::bad_alloc
kv::Ptr<IAddInManager> GetAddInManager();

}  // namespace TrelCore
