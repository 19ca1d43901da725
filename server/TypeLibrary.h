#pragma once

#include <span>

#include "kvcore/Ptr.h"
#include "server/Unknown.h"

namespace mova {

/// The type information of the first interface that the module's type library describes as fit for automation, and
/// which one it is; empty where there is none.
struct AutomationType {
    kv::Ptr<ITypeInfo> info;
    const InterfaceRow* row = nullptr;
};
AutomationType FindAutomationType(std::span<const InterfaceRow> interfaces);

/// Lets go of the type library that is kept loaded between two uses; for when nothing of the module is alive.
void ForgetTypeLibrary() noexcept;

}  // namespace mova
