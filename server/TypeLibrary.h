#pragma once

#include <span>

#include "kvcore/Ptr.h"
#include "server/Unknown.h"

namespace mova {

/// The description of an interface that is fit for automation, and which one it is.
struct AutomationType {
    kv::Ptr<ITypeInfo> info;
    const InterfaceRow* row = nullptr;
};
/// The first of a class's interfaces that the module's type library describes so; empty where there is none.
/// @throw std::bad_alloc
AutomationType FindAutomationType(std::span<const InterfaceRow> interfaces);

/// Lets go of the type library that is kept loaded between two uses; for when nothing of the module is alive.
void ForgetTypeLibrary() noexcept;

}  // namespace mova
