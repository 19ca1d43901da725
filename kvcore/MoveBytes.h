#pragma once

#include <cstddef>

namespace kv {

/// Copies bytes, which may overlap. Few of them, as most fields have, take a fraction of what calling the runtime for
/// them takes.
void MoveBytes(void* to, const void* from, std::size_t size) noexcept;

}  // namespace kv
