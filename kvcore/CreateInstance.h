// Creating components by class, without the runtime's detour where this module serves the class itself.
#pragma once

#include "kvcore/Ptr.h"

namespace kv {

/// Tells the factory of a class that the module serves, uncounted; null for other classes.
using FindFactory = IClassFactory* (*)(REFCLSID classId);
/// Said once, when the module is loaded.
void ServeOwnClasses(FindFactory find) noexcept;

/// Creates a component by class identifier. @param context says which kinds of servers may provide it
HRESULT KvCreateInstance(REFCLSID classId, IUnknown* outer, DWORD context, REFIID iid, void** object) noexcept;
template <class I>
HRESULT KvCreateInstance(REFCLSID classId, Ptr<I>& object) noexcept {
    return KvCreateInstance(classId, nullptr, CLSCTX_INPROC_SERVER, __uuidof(I), object.PutVoid());
}

/// Creates many components: the factory of the last foreign class is kept, since asking the runtime for it costs a
/// thousand times what it takes to create an object.
class Creator {
 public:
    /// Any kind of server may provide the class.
    HRESULT Create(REFCLSID classId, IUnknown* outer, REFIID iid, void** object) noexcept;

 private:
    CLSID lastClass_{};
    Ptr<IClassFactory> lastFactory_;
};

}  // namespace kv
