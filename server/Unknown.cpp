#include "server/Unknown.h"

#include <algorithm>
#include <array>
#include <memory>
#include <new>

#include "kvcore/BlockPool.h"
#include "kvcore/CriticalSection.h"
#include "server/Component.h"
#include "server/Module.h"
#include "server/TearOff.h"

namespace mova {

namespace {

constexpr std::uintptr_t stackKept = 128 * 1024;

struct PostponedEnd {
    DWORD thread;  ///< 0: the place is free
    Unknown* object;
};
constinit kv::StaticLock postponedLock;
constinit std::atomic<int> postponedCount{0};
constinit std::array<PostponedEnd, 64> postponedEnds{};

auto FindPostponed(DWORD thread) noexcept {
    return std::find_if(postponedEnds.begin(), postponedEnds.end(),
                        [=](const PostponedEnd& end) { return end.thread == thread; });
}

/// @return false where there is no place for it
bool Postpone(Unknown* object) noexcept {
    const kv::KvAutoLock lock(postponedLock);
    const auto place = FindPostponed(0);
    if (place == postponedEnds.end()) return false;
    *place = {GetCurrentThreadId(), object};
    ++postponedCount;
    return true;
}

std::uintptr_t StackLeft() noexcept {
    ULONG_PTR low = 0;
    ULONG_PTR high = 0;
    GetCurrentThreadStackLimits(&low, &high);
    return reinterpret_cast<std::uintptr_t>(&high) - low;
}

}  // namespace

Unknown::Unknown(IUnknown* outer) noexcept : outer_(outer) {
    ++lockCount;
}

Unknown::~Unknown() {
    delete tearOff_.load(std::memory_order_relaxed);
    --lockCount;
}

// The end of an object is the end of those that it alone holds, and so on: a chain of objects can be longer than the
// stack. Where little of it is left, an object's end is put off until the one before it in the chain is over.
void Unknown::Destroy() noexcept {
    if (StackLeft() < stackKept && Postpone(this)) return;
    delete this;
    while (Unknown* postponed = TakePostponed()) delete postponed;
}

Unknown* Unknown::TakePostponed() noexcept {
    if (postponedCount.load(std::memory_order_relaxed) == 0) return nullptr;
    const kv::KvAutoLock lock(postponedLock);
    const auto place = FindPostponed(GetCurrentThreadId());
    if (place == postponedEnds.end()) return nullptr;
    --postponedCount;
    place->thread = 0;
    return place->object;
}

HRESULT Unknown::QueryFrame(std::uint64_t idFirst, std::uint64_t idSecond, void** object) noexcept {
    const kv::IdBits id{idFirst, idSecond};
    if (id == idOf<IUnknown>) {
        NonDelegatingAddRef();
        *object = Own();
        return S_OK;
    }
    TearOff* tearOff = tearOff_.load(std::memory_order_acquire);
    if (!tearOff) {
        if (!TearOff::Knows(id)) return E_NOINTERFACE;
        tearOff = MakeTearOff();
        if (!tearOff) return E_OUTOFMEMORY;
    }
    void* const found = tearOff->Find(id);
    if (!found) return E_NOINTERFACE;
    AddReference();
    *object = found;
    return S_OK;
}

void Unknown::ErrorSource(HRESULT, UINT, const char16_t*, std::span<char16_t, 128> source) const noexcept {
    const ClassEntry* entry = FindClass(kv::BitsOf(ClassId()));
    auto append = [&, end = source.begin()](std::u16string_view part) mutable {
        const auto room = static_cast<std::size_t>(source.end() - end) - 1;
        end = std::copy_n(part.begin(), std::min(part.size(), room), end);
        *end = u'\0';
    };
    append(progIdPrefix);
    if (entry) append(entry->name);
}

TearOff* Unknown::MakeTearOff() noexcept try {
    auto made = std::make_unique<TearOff>(*this);
    TearOff* other = nullptr;
    // Two callers at once: the one that comes second uses what the first one made.
    return tearOff_.compare_exchange_strong(other, made.get(), std::memory_order_acq_rel) ? made.release() : other;
} catch (...) {
    return nullptr;
}

void* Unknown::operator new(std::size_t size) {
    void* block = kv::TakeBlock(size);
    if (!block) throw std::bad_alloc();
    return block;
}

void Unknown::operator delete(void* block, std::size_t size) noexcept {
    kv::GiveBlock(block, size);
}

}  // namespace mova
