#pragma once

#include "kvcore/Ptr.h"
#include "server/Unknown.h"

namespace mova {

/// What the module's type library says of an interface, where it describes it as fit for automation; else null.
/// @throw std::bad_alloc
kv::Ptr<ITypeInfo> FindAutomationType(const kv::IdBits& id);

/// Lets go of the type library that is kept loaded between two uses; for when nothing of the module is alive.
void ForgetTypeLibrary() noexcept;

}  // namespace mova
