#pragma once

#include <algorithm>
#include <span>
#include <string>

#include "kvcore/GuidText.h"
#include "kvcore/Platform.h"

namespace kv {

/// An identifier as text in braces, hexadecimal digits in upper case. @throw std::bad_alloc
inline std::u16string GuidText(const GUID& id) {
    const auto text = FormatGuid(BitsOf(id));
    return {text.begin(), text.end()};
}

/// The same into a buffer, with a NUL at the end.
/// @return how many characters were written, the NUL among them; 0, and none, where they are more than there is room
/// for.
inline int MOVA_StringFromGUID2(const GUID& id, std::span<char16_t> buffer) noexcept {
    const auto text = FormatGuid(BitsOf(id));
    if (buffer.size() <= text.size()) return 0;
    *std::copy(text.begin(), text.end(), buffer.begin()) = u'\0';
    return static_cast<int>(text.size() + 1);
}

/// Reads an identifier from its text as ParseGuid does: the braces may be left out, and a ProgID is none.
inline std::optional<GUID> MOVA_CLSIDFromString(std::u16string_view text) noexcept {
    const auto bits = ParseGuid(text);
    if (!bits) return {};
    return std::bit_cast<GUID>(*bits);
}

/// Every kind of server that can provide a component.
inline constexpr DWORD anyServer =
    CLSCTX_INPROC_SERVER | CLSCTX_INPROC_HANDLER | CLSCTX_LOCAL_SERVER | CLSCTX_REMOTE_SERVER;

}  // namespace kv
