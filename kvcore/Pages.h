// Memory in large pieces of one size, for what grows piece by piece instead of moving.
#pragma once

#include <cstddef>

namespace kv {

inline constexpr std::size_t pageSize = std::size_t{32} * 1024;

/// A page of memory, one that was given back before where there is one: that costs a fraction of what fresh memory
/// costs, which the system clears. Any thread may give back what another one took.
/// @return null where there is no memory
void* TakePage() noexcept;
/// Gives a page back. @param page may be null
void GivePage(void* page) noexcept;
/// Returns all recycled pages to the heap; afterwards nothing is recycled any more. For the module's unloading, when no
/// other thread runs its code.
void ClosePages() noexcept;

}  // namespace kv
