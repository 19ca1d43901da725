#pragma once

#include <string>

#include "kvcore/Stream.h"

namespace kv {

/// A wide string of the library's own.
class String : public std::u16string {
 public:
    using std::u16string::u16string;
    String(std::u16string_view text) : std::u16string(text) {}

    /// Writes the length and the characters.
    HRESULT Write(IStream* stream) const noexcept;
    /// Reads what Write wrote; the text stays as it was where that fails: E_FAIL where the stream ends too early.
    HRESULT Read(IStream* stream) noexcept;
};

}  // namespace kv
