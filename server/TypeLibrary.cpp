#include "server/TypeLibrary.h"

#include <movaContainers.h>

#include <bit>

#include "kvcore/CriticalSection.h"
#include "server/Module.h"

namespace mova {
namespace {

constinit kv::StaticLock libraryLock;
ITypeLib* loadedLibrary = nullptr;  // no smart pointer: a module must not call other modules while it is being unloaded

/// Has the platform load what the library refers to. It does that when first asked, and without a lock: of threads that
/// ask at once each would load it, and all but one leave it behind.
void LoadReferences(ITypeLib& library) noexcept {
    kv::Ptr<ITypeInfo> derived, base;
    HREFTYPE reference = 0;
    if (SUCCEEDED(library.GetTypeInfoOfGuid(__uuidof(IPropertySet), derived.Put())) &&
        SUCCEEDED(derived->GetRefTypeOfImplType(0, &reference)))
        derived->GetRefTypeInfo(reference, base.Put());
}

kv::Ptr<ITypeLib> Library() {
    const kv::KvAutoLock lock(libraryLock);
    if (!loadedLibrary) {
        const std::u16string path = ModulePath();
        if (FAILED(LoadTypeLibEx(kv::Wide(path.c_str()), REGKIND_NONE, &loadedLibrary))) {
            loadedLibrary = nullptr;
        } else {
            LoadReferences(*loadedLibrary);
        }
    }
    return kv::Ptr<ITypeLib>(loadedLibrary);
}

bool IsAutomation(ITypeInfo& info) noexcept {
    TYPEATTR* attributes = nullptr;
    if (FAILED(info.GetTypeAttr(&attributes))) return false;
    const bool is = (attributes->wTypeFlags & TYPEFLAG_FOLEAUTOMATION) != 0;
    info.ReleaseTypeAttr(attributes);
    return is;
}

}  // namespace

kv::Ptr<ITypeInfo> FindAutomationType(const kv::IdBits& id) {
    const auto library = Library();
    kv::Ptr<ITypeInfo> info;
    if (!library || FAILED(library->GetTypeInfoOfGuid(std::bit_cast<GUID>(id), info.Put())) ||
        !IsAutomation(*info.Get()))
        return {};
    return info;
}

void ForgetTypeLibrary() noexcept {
    const kv::KvAutoLock lock(libraryLock);
    kv::Ptr<ITypeLib>::Attach(std::exchange(loadedLibrary, nullptr));
}

}  // namespace mova
