#include "bench/Memory.h"

#include <windows.h>

#include <psapi.h>

#include <array>
#include <cstring>
#include <memory>
#include <new>

#include "bench/Bench.h"

namespace bench {
namespace {

PROCESS_MEMORY_COUNTERS Counters() {
    PROCESS_MEMORY_COUNTERS counters{};
    Require(GetProcessMemoryInfo(GetCurrentProcess(), &counters, sizeof counters) != 0, "Memory is not counted.");
    return counters;
}

struct FreePages {
    void operator()(void* pages) const { VirtualFree(pages, 0, MEM_RELEASE); }
};

/// Pages that are in memory.
std::unique_ptr<void, FreePages> TakePages(std::size_t size) {
    std::unique_ptr<void, FreePages> pages(VirtualAlloc(nullptr, size, MEM_RESERVE | MEM_COMMIT, PAGE_READWRITE));
    if (!pages) throw std::bad_alloc();
    std::memset(pages.get(), 1, size);
    return pages;
}

}  // namespace

std::size_t HeapBytes() {
    std::array<HANDLE, 64> heaps{};
    const DWORD count = GetProcessHeaps(static_cast<DWORD>(heaps.size()), heaps.data());
    Require(count != 0 && count <= heaps.size(), "The heaps cannot be listed.");
    std::size_t bytes = 0;
    for (DWORD i = 0; i < count; ++i) {
        HeapLock(heaps[i]);
        PROCESS_HEAP_ENTRY entry{};
        while (HeapWalk(heaps[i], &entry))
            if (entry.wFlags & PROCESS_HEAP_ENTRY_BUSY) bytes += entry.cbData + entry.cbOverhead;
        HeapUnlock(heaps[i]);
    }
    return bytes;
}

std::size_t PeakGrowth(const std::function<void()>& work) {
    // The peak cannot be set back, so the process is brought up to it: what comes on top then is the work's.
    constexpr std::size_t more = std::size_t{1} << 20;
    const PROCESS_MEMORY_COUNTERS now = Counters();
    const auto ballast = TakePages(now.PeakWorkingSetSize - now.WorkingSetSize + more);
    const std::size_t before = Counters().PeakWorkingSetSize;
    work();
    return Counters().PeakWorkingSetSize - before;
}

}  // namespace bench
