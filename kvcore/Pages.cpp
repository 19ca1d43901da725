#include "kvcore/Pages.h"

#include "kvcore/FreeList.h"

namespace kv {
namespace {

constexpr std::uint32_t mostPages = 512;  // 16 MiB

constinit FreeList freePages;

}  // namespace

void* TakePage() noexcept {
    void* const page = recyclesMemory ? freePages.Pop() : nullptr;
    return page ? page : std::malloc(pageSize);
}

void GivePage(void* page) noexcept {
    if (!page || !recyclesMemory || !freePages.Push(page, mostPages)) std::free(page);
}

void ClosePages() noexcept {
    freePages.Close();
}

}  // namespace kv
