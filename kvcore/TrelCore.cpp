#include "kvcore/TrelCore.h"

#include "kvcore/Guid.h"
#include "kvcore/RegistryKey.h"

namespace TrelCore {

bool GetRegFreeFlag() {
    const auto settings = kv::RegistryKey::Open(HKEY_CURRENT_USER, settingsKey);
    return settings && settings.Number(registrationFreeValue).value_or(0) != 0;
}

kv::Ptr<IAddInManager> GetAddInManager() {
    const auto settings = kv::RegistryKey::Open(HKEY_CURRENT_USER, settingsKey);
    if (!settings) return {};
    const auto classId = kv::MOVA_CLSIDFromString(settings.Text(addInManagerValue));
    kv::Ptr<IAddInManager> manager;
    if (!classId || FAILED(kv::Create(*classId, manager, kv::anyServer))) return {};
    return manager;
}

}  // namespace TrelCore
