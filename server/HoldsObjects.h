#pragma once

#include "kvcore/Platform.h"

namespace mova {

/// Answered by classes that hold other objects, for when loading them failed: what a broken stream made refer to itself
/// would else never be freed. Of this module only.
struct IHoldsObjects : IUnknown {
    /// Lets go of all objects that it holds.
    virtual void STDMETHODCALLTYPE DropObjects() noexcept = 0;
};

}  // namespace mova

__CRT_UUID_DECL(mova::IHoldsObjects, 0x04E8DD87, 0x80FB, 0x4C0C, 0xA2, 0x1E, 0x2F, 0x70, 0x44, 0x25, 0xF7, 0x01)
