// What the serializer asks flags of this module for, instead of a call for every one.
#pragma once

#include "kvcore/Platform.h"

namespace mova {

/// How objects are written and read as XML.
struct SerializeFlags {
    bool forSoap = false;        ///< without what SOAP messages cannot carry
    bool sharedObjects = true;   ///< an object that is met again is a reference to its first occurrence
    bool unknownAsNull = false;  ///< an object of an unknown type is read as null, instead of failing
    bool formatted = false;      ///< each element is on a line of its own, indented by tabs
};

/// Answered by this module's flags.
struct IHoldsFlags : IUnknown {
    virtual SerializeFlags STDMETHODCALLTYPE Flags() const noexcept = 0;
};

}  // namespace mova

__CRT_UUID_DECL(mova::IHoldsFlags, 0x985B5425, 0x686B, 0x4FDE, 0x8D, 0x40, 0xD2, 0x20, 0xE4, 0xF5, 0xE1, 0x71)
