#include "kvcore/TrelCore.h"

#include "kvcore/Guid.h"
#include "kvcore/RegistryKey.h"

namespace TrelCore {

namespace {

/// Whether a setting is a number other than 0.
bool IsSet(const char16_t* value) {
    const auto settings = kv::RegistryKey::Open(HKEY_CURRENT_USER, settingsKey);
    return settings && settings.Number(value).value_or(0) != 0;
}

}  // namespace

bool GetRegFreeFlag() {
    return IsSet(registrationFreeValue);
}

bool WantsOlderTimeReader() {
    return IsSet(olderTimeReaderValue);
}

bool LastingAnswer::Get() {
    Known first = first_.load(std::memory_order_relaxed);
    if (first == Known::notYet) {
        const Known now = ask_() ? Known::yes : Known::no;
        if (first_.compare_exchange_strong(first, now)) first = now;
    }
    return first == Known::yes;
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
