#include "server/Module.h"

#include <optional>

#include <movaServer.h>
#include "kvcore/BlockPool.h"
#include "kvcore/CriticalSection.h"
#include "kvcore/Ptr.h"
#include "server/ClassDirectory.h"
#include "server/ClassFactory.h"

extern "C" IMAGE_DOS_HEADER __ImageBase;  // NOLINT: the linker's name for where the module begins

namespace mova {
namespace {

kv::KvCriticalSection initialisationLock;
std::atomic<bool> initialised{false};
std::optional<ClassDirectory<ClassEntry>> directory;

void BuildDirectory() {
    const kv::KvAutoLock lock(initialisationLock);
    if (initialised.load(std::memory_order_relaxed)) return;
    directory.emplace(classTable);
    initialised.store(true, std::memory_order_seq_cst);
}

const ClassDirectory<ClassEntry>& Directory() {
    if (!initialised.load(std::memory_order_acquire)) [[unlikely]]
        BuildDirectory();
    return *directory;
}

}  // namespace

HMODULE ThisModule() noexcept {
    return reinterpret_cast<HMODULE>(&__ImageBase);
}

std::u16string ModulePath() {
    std::u16string path(MAX_PATH, u'\0');
    for (;;) {
        const DWORD length = GetModuleFileNameW(ThisModule(), kv::Wide(path.data()), static_cast<DWORD>(path.size()));
        if (length < path.size()) {
            path.resize(length);
            return path;
        }
        path.resize(path.size() * 2);
    }
}

const ClassEntry* FindClass(const kv::IdBits& classId) {
    return Directory().Find(classId);
}

void ReleaseThreadSingletons() {
    for (const ClassEntry* entry : Directory().Singletons())
        if (const auto release = kv::Ptr<IClassFactory>(entry->factory).As<ISingletonRelease>())
            release->ReleaseInstance();
}

}  // namespace mova

BOOL WINAPI DllMain(HINSTANCE module, DWORD reason, void*) {
    if (reason == DLL_PROCESS_ATTACH) DisableThreadLibraryCalls(module);
    if (reason == DLL_PROCESS_DETACH) kv::CloseBlockPool();
    return TRUE;
}
