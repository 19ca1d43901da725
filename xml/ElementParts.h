// What the writer takes from this module's own collections at once, instead of a call and a copy for every text.
#pragma once

#include <vector>

#include "kvcore/Platform.h"
#include "xml/Emitter.h"

namespace mova {

/// Answered by a collection of attributes of this module.
struct IHoldsAttributes : IUnknown {
    /// Appends them, as long as the collection is not changed. @throw std::bad_alloc
    virtual void STDMETHODCALLTYPE AppendTo(std::vector<xml::Attribute>& attributes) const = 0;
};

/// Answered by a collection of namespaces of this module.
struct IHoldsNamespaces : IUnknown {
    /// Appends them, as long as the collection is not changed. @throw std::bad_alloc
    virtual void STDMETHODCALLTYPE AppendTo(std::vector<xml::Declaration>& declarations) const = 0;
};

}  // namespace mova

__CRT_UUID_DECL(mova::IHoldsAttributes, 0x190A613F, 0x2B7F, 0x4300, 0xBB, 0x5F, 0x27, 0x5D, 0x57, 0x39, 0xF1, 0x6C)
__CRT_UUID_DECL(mova::IHoldsNamespaces, 0xB5C3D667, 0x5F81, 0x4194, 0xAB, 0xB6, 0x6B, 0x2E, 0xAA, 0xBE, 0x00, 0x37)
