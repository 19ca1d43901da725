#include "server/Unknown.h"

#include <algorithm>
#include <memory>
#include <new>

#include "kvcore/BlockPool.h"
#include "server/Component.h"
#include "server/Module.h"
#include "server/PostponedEnds.h"
#include "server/TearOff.h"

namespace mova {
namespace {

constinit PostponedEnds postponedEnds;

}  // namespace

Unknown::Unknown(IUnknown* outer) noexcept : outer_(outer) {
    ++lockCount;
}

Unknown::~Unknown() {
    delete tearOff_.load(std::memory_order_relaxed);
    --lockCount;
}

void Unknown::Destroy() noexcept {
    const bool stackIsShort = PostponedEnds::StackIsShort();
    if (stackIsShort && postponedEnds.Postpone(this)) return;
    const bool collects = stackIsShort && postponedEnds.Begin();
    delete this;
    if (!collects) return;
    while (Unknown* postponed = postponedEnds.Take()) delete postponed;
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
