// Bytes as automation has them: arrays of VT_UI1.
#pragma once

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

}  // namespace mova
