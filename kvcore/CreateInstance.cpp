#include "kvcore/CreateInstance.h"

#include <new>

#include "kvcore/Guid.h"

namespace kv {
namespace {

constinit FindFactory findOwn = nullptr;

IClassFactory* OwnFactory(REFCLSID classId) noexcept try {
    return findOwn ? findOwn(classId) : nullptr;
} catch (const std::bad_alloc&) {
    return nullptr;  // the runtime's way is still there
}

}  // namespace

void ServeOwnClasses(FindFactory find) noexcept {
    findOwn = find;
}

HRESULT KvCreateInstance(REFCLSID classId, IUnknown* outer, DWORD context, REFIID iid, void** object) noexcept {
    if (IClassFactory* factory = OwnFactory(classId)) return factory->CreateInstance(outer, iid, object);
    return CoCreateInstance(classId, outer, context, iid, object);
}

HRESULT Creator::Create(REFCLSID classId, IUnknown* outer, REFIID iid, void** object) noexcept {
    if (IClassFactory* factory = OwnFactory(classId)) return factory->CreateInstance(outer, iid, object);
    if (!lastFactory_ || lastClass_ != classId) {
        Ptr<IClassFactory> factory;
        if (HRESULT status = CoGetClassObject(classId, anyServer, nullptr, __uuidof(IClassFactory), factory.PutVoid());
            FAILED(status))
            return status;
        lastFactory_ = std::move(factory);
        lastClass_ = classId;
    }
    return lastFactory_->CreateInstance(outer, iid, object);
}

}  // namespace kv
