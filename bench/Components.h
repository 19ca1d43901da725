// How the benchmarks reach components: through the registry and public interfaces only.
#pragma once

#include <string>

#include "bench/Bench.h"
#include "kvcore/Platform.h"
#include "kvcore/Ptr.h"

namespace bench {

/// The peer of the component frame and of the property set: a dictionary of the platform.
inline constexpr const wchar_t* dictionaryProgId = L"Scripting.Dictionary";

/// A single-threaded apartment for the calling thread.
class Apartment {
 public:
    Apartment() { Require(SUCCEEDED(CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED)), "A thread got no apartment."); }
    ~Apartment() { CoUninitialize(); }
    Apartment(const Apartment&) = delete;
    Apartment& operator=(const Apartment&) = delete;
};

inline CLSID ClassOf(const wchar_t* progId) {
    CLSID classId;
    Require(SUCCEEDED(CLSIDFromProgID(progId, &classId)), "A class is not registered.");
    return classId;
}

inline kv::Ptr<IClassFactory> FactoryOf(REFCLSID classId) {
    kv::Ptr<IClassFactory> factory;
    const HRESULT status =
        CoGetClassObject(classId, CLSCTX_INPROC_SERVER, nullptr, __uuidof(IClassFactory), factory.PutVoid());
    Require(SUCCEEDED(status), "A class has no factory.");
    return factory;
}

template <class Interface>
kv::Ptr<Interface> Make(const kv::Ptr<IClassFactory>& factory) {
    kv::Ptr<Interface> object;
    Require(SUCCEEDED(factory->CreateInstance(nullptr, __uuidof(Interface), object.PutVoid())),
            "A factory makes no object.");
    return object;
}

/// The entry point of that name in a module that is loaded. @tparam Function its type, a pointer to a function
template <class Function>
Function EntryPoint(const wchar_t* module, const char* name) {
    const HMODULE handle = GetModuleHandleW(module);
    Require(handle != nullptr, "A class comes from another module than expected.");
    auto* const found = reinterpret_cast<void*>(GetProcAddress(handle, name));
    Require(found != nullptr, std::string("A module does not export ") + name + ".");
    return reinterpret_cast<Function>(found);
}

}  // namespace bench
