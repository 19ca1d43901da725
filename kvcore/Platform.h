// The one door to the platform's headers.
#pragma once

#include <windows.h>
// windows.h first: the component headers build on it.
#include <ole2.h>
#include <oleauto.h>

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string_view>

namespace kv {

/// Whether an argument that a client passed by reference is a null pointer, as a client in C can make it. The build
/// keeps the compiler from assuming otherwise (-fno-delete-null-pointer-checks).
inline bool IsNull(const void* address) noexcept {
    return address == nullptr;
}

/// The platform's 16-bit text as this library's. The build lets the two types share memory (-fno-strict-aliasing).
inline const char16_t* Narrow16(const wchar_t* text) noexcept {
    return reinterpret_cast<const char16_t*>(text);
}
inline const wchar_t* Wide(const char16_t* text) noexcept {
    return reinterpret_cast<const wchar_t*>(text);
}
inline wchar_t* Wide(char16_t* text) noexcept {
    return reinterpret_cast<wchar_t*>(text);
}

/// A BSTR over its whole length, NULs included; null is the empty text. The length in bytes stands in front of the
/// text, where it is read without a call of the platform's: that would take as long as many a use of the text does.
inline std::u16string_view View(BSTR text) noexcept {
    if (!text) return {};
    std::uint32_t byteCount = 0;
    std::memcpy(&byteCount, reinterpret_cast<const std::byte*>(text) - sizeof byteCount, sizeof byteCount);
    return {Narrow16(text), byteCount / sizeof(wchar_t)};
}

}  // namespace kv
