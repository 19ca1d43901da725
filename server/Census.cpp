#include "server/Census.h"

#include <algorithm>
#include <array>

#include "kvcore/CriticalSection.h"
#include "kvcore/Guid.h"
#include "kvcore/IdBits.h"
#include "server/Module.h"

namespace mova {
namespace {

struct Kind {
    const GUID* id;
    const char16_t* reportedName;
    long alive;
};

// No container of the library, whose memory would be among what a leak hunt sees.
constinit std::array<Kind, 256> kinds{};
constinit kv::StaticLock lock;

std::u16string NameOf(const Kind& kind) {
    if (kind.reportedName) return kind.reportedName;
    if (const ClassEntry* entry = FindClass(kv::BitsOf(*kind.id))) return entry->name;
    return kv::GuidText(*kind.id);
}

}  // namespace

void CountObject(const GUID& kind, const char16_t* reportedName, int change) noexcept {
    const kv::KvAutoLock held(lock);
    const auto place = std::find_if(kinds.begin(), kinds.end(), [&](const Kind& known) {
        return !known.id || kv::BitsOf(*known.id) == kv::BitsOf(kind);
    });
    if (place == kinds.end()) return;
    place->id = &kind;
    place->reportedName = reportedName;
    place->alive += change;
}

std::u16string CensusReport() {
    const kv::KvAutoLock held(lock);
    std::u16string report;
    for (const Kind& kind : kinds) {
        if (kind.alive == 0) continue;
        const std::string count = std::to_string(kind.alive);
        report.append(NameOf(kind)).append(u"\t").append(count.begin(), count.end()).append(u"\n");
    }
    return report;
}

}  // namespace mova
