#pragma once

#include <atomic>
#include <string>

#include "server/ClassTable.h"

namespace mova {

/// Counts every live object of the library and every LockServer; the module may be unloaded at 0.
inline constinit std::atomic<LONG> lockCount{0};

/// The module that this code is in.
HMODULE ThisModule() noexcept;
/// The path of the file that the module was loaded from. @throw std::bad_alloc; another where the system does not say
std::u16string ModulePath();

/// The row of a class; null where the library does not serve it. The first call, which comes before any object is made,
/// builds the lookup, once and for all threads. @throw std::bad_alloc from that call
const ClassEntry* FindClass(const kv::IdBits& classId);

/// Lets every singleton factory let go of the calling thread's instance. @throw std::bad_alloc
void ReleaseThreadSingletons();

}  // namespace mova
