// What classes of this module read of their elements where it is, instead of copies of every name and key.
#pragma once

#include <string_view>

#include "kvcore/Platform.h"

namespace mova {

/// Answered by what objects read themselves from. An index is one of an element; texts are good until the object's turn
/// ends.
struct ISeesElements : IUnknown {
    virtual std::u16string_view STDMETHODCALLTYPE NameOf(LONG index) noexcept = 0;
    /// Empty where it has none.
    virtual std::u16string_view STDMETHODCALLTYPE KeyOf(LONG index) noexcept = 0;
};

}  // namespace mova

__CRT_UUID_DECL(mova::ISeesElements, 0x6FF6A727, 0x16EA, 0x4C02, 0xAB, 0x0A, 0xB0, 0xBF, 0x63, 0x6F, 0xB9, 0xAE)
