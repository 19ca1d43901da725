// The six entry points of the module.
#include "server/ClassFactory.h"
#include "server/Component.h"
#include "server/Module.h"
#include "server/Registration.h"
#include "server/TypeLibrary.h"

using namespace mova;

STDAPI DllGetClassObject(REFCLSID classId, REFIID iid, void** object) try {
    if (!object) return E_POINTER;
    *object = nullptr;
    if (kv::IsNull(&classId)) return E_INVALIDARG;
    const ClassEntry* entry = FindClass(kv::BitsOf(classId));
    return entry ? entry->factory->QueryInterface(iid, object) : CLASS_E_CLASSNOTAVAILABLE;
} catch (...) {
    return CaughtStatus();
}

STDAPI DllCanUnloadNow() try {
    ReleaseThreadSingletons();
    if (lockCount.load() > 0) return S_FALSE;
    ForgetTypeLibrary();
    return S_OK;
} catch (...) {
    return CaughtStatus();
}

STDAPI DllRegisterServer() try {
    const std::u16string path = ModulePath();
    if (HRESULT status = RegisterClasses(classTable, path); FAILED(status)) return status;
    return RegisterTypeLibrary(path);
} catch (...) {
    return CaughtStatus();
}

STDAPI DllUnregisterServer() try {
    if (HRESULT status = UnregisterClasses(classTable); FAILED(status)) return status;
    return UnregisterTypeLibrary();
} catch (...) {
    return CaughtStatus();
}

STDAPI movaDllRegisterServer() {
    return DllRegisterServer();
}
STDAPI movaDllUnregisterServer() {
    return DllUnregisterServer();
}
