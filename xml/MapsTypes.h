// What the serializer asks a type mapper of this module for, instead of a call and a copy for every object.
#pragma once

#include "kvcore/Platform.h"
#include "xml/TypeMap.h"

namespace mova {

/// Answered by this module's type mapper.
struct IMapsTypes : IUnknown {
    /// Its map, as long as the mapper lives.
    virtual xml::TypeMap& STDMETHODCALLTYPE Types() noexcept = 0;
};

}  // namespace mova

__CRT_UUID_DECL(mova::IMapsTypes, 0x59A5C0BE, 0x9439, 0x40C6, 0xA2, 0x89, 0xC4, 0x5B, 0xD9, 0x8A, 0x5A, 0xC9)
