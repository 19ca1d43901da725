#pragma once

#include <array>
#include <string>

#include "kvcore/Platform.h"

namespace kv {

/// An identifier as text in braces, hexadecimal digits in upper case. @throw std::bad_alloc
inline std::u16string GuidText(const GUID& id) {
    std::array<wchar_t, 39> text;
    StringFromGUID2(id, text.data(), static_cast<int>(text.size()));
    return Narrow16(text.data());
}

/// Every kind of server that can provide a component.
inline constexpr DWORD anyServer =
    CLSCTX_INPROC_SERVER | CLSCTX_INPROC_HANDLER | CLSCTX_LOCAL_SERVER | CLSCTX_REMOTE_SERVER;

}  // namespace kv
