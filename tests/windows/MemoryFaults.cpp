#include "tests/windows/MemoryFaults.h"

#include <algorithm>
#include <atomic>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <unordered_map>
#include <utility>

#include "tests/windows/GuardedHeap.h"
#include "tests/windows/Support.h"

namespace mova::test {
namespace {

std::atomic<long> live;
std::atomic<long> liveOfPlatform;
std::atomic<DWORD> shortThread;  // none while 0
long grantedLeft;
bool felt;
GuardedHeap guarded;
bool isGuarding;
std::atomic<long> unguarded;

/// Whether a call for memory is granted; counts it.
bool IsGranted() {
    if (shortThread != GetCurrentThreadId() || grantedLeft-- > 0) return true;
    return std::exchange(felt, true);
}

void* Counted(void* block, std::atomic<long>& count = live) {
    if (block) ++count;
    return block;
}

void WatchedFree(void* block) {
    if (block) --live;
    if (guarded.Owns(block)) {
        guarded.Give(block);
    } else {
        std::free(block);
    }
}

/// A block that is guarded; null where none is to be or can be.
void* GuardedBlock(std::size_t size) {
    void* const block = isGuarding ? guarded.Take(size) : nullptr;
    if (isGuarding && !block) ++unguarded;
    return block;
}

void* WatchedMalloc(std::size_t size) {
    if (!IsGranted()) return nullptr;
    void* const block = GuardedBlock(size);
    return Counted(block ? block : std::malloc(size));
}

void* WatchedCalloc(std::size_t count, std::size_t size) {
    if (count != 0 && size > SIZE_MAX / count) return nullptr;
    void* const block = WatchedMalloc(count * size);
    return block ? std::memset(block, 0, count * size) : nullptr;
}

void* WatchedRealloc(void* block, std::size_t size) {
    if (!block) return WatchedMalloc(size);
    if (size == 0) return WatchedFree(block), nullptr;
    if (!IsGranted()) return nullptr;
    if (!guarded.Owns(block)) return std::realloc(block, size);
    void* const moved = guarded.Take(size);
    if (!moved) return nullptr;
    std::memcpy(moved, block, std::min(size, guarded.SizeOf(block)));
    guarded.Give(block);
    return moved;
}

void* WINAPI WatchedVirtualAlloc(void* address, SIZE_T size, DWORD type, DWORD protection) {
    if (!IsGranted()) {
        SetLastError(ERROR_NOT_ENOUGH_MEMORY);
        return nullptr;
    }
    void* const pages = VirtualAlloc(address, size, type, protection);
    if ((type & MEM_RESERVE) != 0) Counted(pages);
    return pages;
}

BOOL WINAPI WatchedVirtualFree(void* address, SIZE_T size, DWORD type) {
    if (type == MEM_RELEASE) --live;
    return VirtualFree(address, size, type);
}

/// The platform's memory. It stands behind the guarded blocks, which are handed out in its place, and calls here one at
/// a time.
class Spy final : public Local<IMallocSpy> {
 public:
    STDMETHODIMP_(SIZE_T) PreAlloc(SIZE_T size) noexcept override {
        size_ = size;
        return IsGranted() ? size : 0;
    }
    STDMETHODIMP_(void*) PostAlloc(void* block) noexcept override { return Counted(Guarded(block), liveOfPlatform); }
    STDMETHODIMP_(void*) PreFree(void* block, BOOL) noexcept override {
        if (block) --liveOfPlatform;
        return GiveBack(block);
    }
    STDMETHODIMP_(void) PostFree(BOOL) noexcept override {}
    STDMETHODIMP_(SIZE_T) PreRealloc(void* block, SIZE_T size, void** behind, BOOL) noexcept override {
        size_ = size;
        resized_ = block;
        *behind = Behind(block);
        if (*behind != block) std::memcpy(*behind, block, guarded.SizeOf(block));
        return IsGranted() ? size : 0;
    }
    STDMETHODIMP_(void*) PostRealloc(void* block, BOOL) noexcept override {
        if (!resized_) return PostAlloc(block);
        if (!block) return nullptr;
        GiveBack(resized_);
        void* const moved = Guarded(block);
        if (moved != block) std::memcpy(moved, block, size_);
        return moved;
    }
    STDMETHODIMP_(void*) PreGetSize(void* block, BOOL) noexcept override { return Behind(block); }
    STDMETHODIMP_(SIZE_T) PostGetSize(SIZE_T size, BOOL) noexcept override { return size; }
    STDMETHODIMP_(void*) PreDidAlloc(void* block, BOOL) noexcept override { return Behind(block); }
    STDMETHODIMP_(int) PostDidAlloc(void*, BOOL, int answer) noexcept override { return answer; }
    STDMETHODIMP_(void) PreHeapMinimize() noexcept override {}
    STDMETHODIMP_(void) PostHeapMinimize() noexcept override {}

 private:
    /// What is handed out for a block of the platform's.
    void* Guarded(void* block) {
        void* const handedOut = block ? GuardedBlock(size_) : nullptr;
        if (!handedOut) return block;
        behind_[handedOut] = block;
        return handedOut;
    }
    void* Behind(void* handedOut) const {
        if (!guarded.Owns(handedOut)) return handedOut;
        const auto found = behind_.find(handedOut);
        if (found != behind_.end()) return found->second;
        ADD_FAILURE() << "a text, an array or task memory that is freed already, or none";
        __builtin_trap();
    }
    void* GiveBack(void* handedOut) {
        void* const behind = Behind(handedOut);
        if (behind_.erase(handedOut) != 0) guarded.Give(handedOut);
        return behind;
    }

    // From the call before an operation of the platform's to the one after it.
    SIZE_T size_ = 0;
    void* resized_ = nullptr;
    std::unordered_map<void*, void*> behind_;
};

template <class Function>
void* Address(Function* function) {
    return reinterpret_cast<void*>(function);
}

/// Puts functions of ours in the places of those that the library imports under these names.
void ReplaceImports() {
    const struct {
        const char* name;
        void* function;
    } replacements[] = {{"malloc", Address(&WatchedMalloc)},
                        {"calloc", Address(&WatchedCalloc)},
                        {"realloc", Address(&WatchedRealloc)},
                        {"free", Address(&WatchedFree)},
                        {"VirtualAlloc", Address(&WatchedVirtualAlloc)},
                        {"VirtualFree", Address(&WatchedVirtualFree)}};
    auto* const base = reinterpret_cast<std::byte*>(GetModuleHandleW(L"movaSystem.dll"));
    const auto at = [&]<class T>(const T*, ULONGLONG offset) { return reinterpret_cast<T*>(base + offset); };
    const auto& header = at(static_cast<IMAGE_NT_HEADERS64*>(nullptr),
                            static_cast<ULONGLONG>(reinterpret_cast<IMAGE_DOS_HEADER*>(base)->e_lfanew))
                             ->OptionalHeader;
    std::size_t replaced = 0;
    for (auto* import = at(static_cast<IMAGE_IMPORT_DESCRIPTOR*>(nullptr),
                           header.DataDirectory[IMAGE_DIRECTORY_ENTRY_IMPORT].VirtualAddress);
         import->Name; ++import) {
        auto* name = at(static_cast<IMAGE_THUNK_DATA64*>(nullptr), import->OriginalFirstThunk);
        auto* slot = at(static_cast<IMAGE_THUNK_DATA64*>(nullptr), import->FirstThunk);
        for (; name->u1.AddressOfData; ++name, ++slot) {
            const char* const found = at(static_cast<IMAGE_IMPORT_BY_NAME*>(nullptr), name->u1.AddressOfData)->Name;
            for (const auto& [sought, function] : replacements) {
                if (std::strcmp(found, sought) != 0) continue;
                DWORD protection = 0;
                VirtualProtect(slot, sizeof *slot, PAGE_READWRITE, &protection);
                slot->u1.Function = reinterpret_cast<ULONGLONG>(function);
                VirtualProtect(slot, sizeof *slot, protection, &protection);
                ++replaced;
            }
        }
    }
    EXPECT_EQ(replaced, std::size(replacements)) << "the library takes memory in a way that no test watches";
}

}  // namespace

void WatchMemory() {
    static Spy spy;
    using SetOaNoCache = void STDAPICALLTYPE();
    reinterpret_cast<SetOaNoCache*>(
        reinterpret_cast<void*>(GetProcAddress(GetModuleHandleW(L"oleaut32.dll"), "SetOaNoCache")))();
    EXPECT_EQ(CoRegisterMallocSpy(&spy), S_OK);
    ReplaceImports();
}

void GuardMemory() {
    guarded.Restart();
    unguarded = 0;
    isGuarding = GetEnvironmentVariableW(L"MOVA_GUARD_MEMORY", nullptr, 0) != 0;
}

long UnguardedBlocks() {
    return unguarded;
}

long LiveBlocks() {
    return live;
}

long LiveBlocksOfPlatform() {
    return liveOfPlatform;
}

MemoryShortage::MemoryShortage(long granted) {
    grantedLeft = granted;
    felt = false;
    shortThread = GetCurrentThreadId();
}

MemoryShortage::~MemoryShortage() {
    shortThread = 0;
}

bool MemoryShortage::WasFelt() const {
    return felt;
}

}  // namespace mova::test
