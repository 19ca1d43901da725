#include "server/Module.h"

#include <stdexcept>

#include <movaServer.h>
#include "json/TextBuffer.h"
#include "kvcore/BlockPool.h"
#include "kvcore/CreateInstance.h"
#include "kvcore/CriticalSection.h"
#include "kvcore/Pages.h"
#include "kvcore/Ptr.h"
#include "server/ClassDirectory.h"
#include "server/ClassFactory.h"
#include "xml/PullParser.h"

extern "C" IMAGE_DOS_HEADER __ImageBase;  // NOLINT: the linker's name for where the module begins

namespace mova {
namespace {

// Neither has a destructor: a client that is unloaded after this module, at the end of the process, still finds both.
constinit kv::StaticLock initialisationLock;
constinit std::atomic<const ClassDirectory<ClassEntry>*> directory{nullptr};

const ClassDirectory<ClassEntry>& BuildDirectory() {
    const kv::KvAutoLock lock(initialisationLock);
    if (!directory.load(std::memory_order_relaxed))
        directory.store(new ClassDirectory<ClassEntry>(classTable), std::memory_order_seq_cst);
    return *directory.load(std::memory_order_relaxed);
}

const ClassDirectory<ClassEntry>& Directory() {
    const auto* built = directory.load(std::memory_order_acquire);
    return built ? *built : BuildDirectory();
}

IClassFactory* FindFactory(REFCLSID classId) {
    const ClassEntry* entry = FindClass(kv::BitsOf(classId));
    return entry ? entry->factory : nullptr;
}

}  // namespace

HMODULE ThisModule() noexcept {
    return reinterpret_cast<HMODULE>(&__ImageBase);
}

std::u16string ModulePath() {
    std::u16string path(MAX_PATH, u'\0');
    for (;;) {
        const DWORD length = GetModuleFileNameW(ThisModule(), kv::Wide(path.data()), static_cast<DWORD>(path.size()));
        if (length == 0) throw std::runtime_error("GetModuleFileName");
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

BOOL WINAPI DllMain(HINSTANCE module, DWORD reason, void* processEnds) {
    if (reason == DLL_PROCESS_ATTACH) {
        DisableThreadLibraryCalls(module);
        kv::ServeOwnClasses(&mova::FindFactory);
    }
    if (reason == DLL_PROCESS_DETACH && !processEnds) {
        delete mova::directory.exchange(nullptr);
        kv::CloseBlockPool();
        json::FreeTextMemory();
        xml::CloseParserLibrary();
        kv::ClosePages();
    }
    return TRUE;
}
