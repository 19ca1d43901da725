#include "tests/windows/GuardedHeap.h"

#include <algorithm>
#include <cstdint>
#include <cstring>

#include "kvcore/Platform.h"

namespace mova::test {
namespace {

constexpr std::size_t page = 4096;
constexpr std::size_t alignment = 16;
constexpr std::size_t spaceSize = std::size_t{64} << 30;  // of addresses; only what is used takes memory
constexpr std::size_t mostBlocks = 12'000;                // alive at once: freed ones take no mapping of their own
constexpr std::byte filler{0xFD};

constexpr std::size_t RoundUp(std::size_t size, std::size_t unit) noexcept {
    return (size + unit - 1) / unit * unit;
}

/// The first page of a block, which begins with its size.
std::byte* PagesOf(const void* block) noexcept {
    const auto address = reinterpret_cast<std::uintptr_t>(block) - 1;
    return reinterpret_cast<std::byte*>(address / page * page);  // NOLINT(performance-no-int-to-ptr): its own pages
}

/// What a block takes with its size in front.
constexpr std::size_t PagesFor(std::size_t size) noexcept {
    return RoundUp(alignment + RoundUp(size, alignment), page);
}

}  // namespace

std::byte* GuardedHeap::Space() {
    std::byte* space = space_;
    if (space) return space;
    auto* const made = static_cast<std::byte*>(VirtualAlloc(nullptr, spaceSize, MEM_RESERVE, PAGE_NOACCESS));
    if (!made || space_.compare_exchange_strong(space, made)) return made;
    VirtualFree(made, 0, MEM_RELEASE);
    return space;
}

void* GuardedHeap::Take(std::size_t size) {
    std::byte* const space = Space();
    if (!space || size > spaceSize / 2 || alive_ >= mostBlocks) return nullptr;
    const std::size_t pages = PagesFor(size);
    const std::size_t offset = used_.fetch_add(pages + page);
    if (offset + pages + page > spaceSize) return nullptr;
    std::byte* const first = space + offset;
    if (!VirtualAlloc(first, pages, MEM_COMMIT, PAGE_READWRITE)) return nullptr;
    std::byte* const block = first + pages - RoundUp(size, alignment);
    ++alive_;
    std::memcpy(first, &size, sizeof size);
    std::fill(block + size, first + pages, filler);
    return block;
}

bool GuardedHeap::Owns(const void* block) const noexcept {
    const std::byte* const space = space_;
    return space && block >= space && block < space + spaceSize;
}

std::size_t GuardedHeap::SizeOf(const void* block) const noexcept {
    std::size_t size = 0;
    std::memcpy(&size, PagesOf(block), sizeof size);
    return size;
}

void GuardedHeap::Give(void* block) {
    std::byte* const first = PagesOf(block);
    const std::size_t size = SizeOf(block);
    const std::size_t pages = PagesFor(size);
    const bool isUntouched = std::all_of(static_cast<std::byte*>(block) + size, first + pages,
                                         [](std::byte value) { return value == filler; });
    if (!isUntouched) __builtin_trap();
    VirtualFree(first, pages, MEM_DECOMMIT);
    --alive_;
}

void GuardedHeap::Restart() noexcept {
    if (alive_ != 0) return;
    VirtualFree(space_.exchange(nullptr), 0, MEM_RELEASE);
    used_ = 0;
}

}  // namespace mova::test
