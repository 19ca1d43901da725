// Bytes as automation has them: arrays of VT_UI1.
#pragma once

#include <algorithm>
#include <cstddef>
#include <optional>
#include <span>

#include "kvcore/SafeArray.h"

namespace mova {

/// Why a value has no bytes.
inline constexpr auto noBytes = u"The value is not an array of bytes.";

/// The bytes of an array in their order in memory, as long as it is not changed; nothing for any other value.
inline std::optional<std::span<const std::byte>> BytesIn(const VARIANT& value) noexcept {
    const auto view = kv::ArrayView::Of(value);
    if (!view || view->Type() != VT_UI1) return {};
    return std::span(static_cast<const std::byte*>(view->Data()), view->Count());
}

/// An array of the bytes that a text stands for; nothing where it stands for none.
/// @param most how many bytes there can be
/// @param read std::optional<std::size_t>(std::byte* out, std::u16string_view text), which says how many there are
/// @throw std::bad_alloc
template <class Read>
std::optional<kv::Variant> ReadBytes(std::u16string_view text, std::size_t most, Read read) {
    kv::ArrayBuilder room(VT_UI1, most);
    auto* const begin = room.Elements<std::byte>();
    const std::optional<std::size_t> count = read(begin, text);
    if (!count) return {};
    if (*count == most) return room.Finish();
    kv::ArrayBuilder fewer(VT_UI1, *count);
    std::copy_n(begin, *count, fewer.Elements<std::byte>());
    return fewer.Finish();
}

}  // namespace mova
