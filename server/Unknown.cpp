#include "server/Unknown.h"

#include <algorithm>
#include <memory>
#include <new>

#include "kvcore/BlockPool.h"
#include "server/Component.h"
#include "server/Module.h"
#include "server/TearOff.h"

namespace mova {

Unknown::Unknown(IUnknown* outer) noexcept : outer_(outer) { ++lockCount; }

Unknown::~Unknown() {
    delete tearOff_.load(std::memory_order_relaxed);
    --lockCount;
}

HRESULT STDMETHODCALLTYPE Unknown::NonDelegatingQueryInterface(REFIID iid, void** object) noexcept {
    if (!object) return E_POINTER;
    *object = nullptr;
    if (kv::IsNull(&iid)) return E_INVALIDARG;
    const kv::IdBits id = kv::BitsOf(iid);
    void* const found = FindInterface(id);
    if (!found) return QueryFrame(id, object);
    Controlling()->AddRef();
    *object = found;
    return S_OK;
}

ULONG STDMETHODCALLTYPE Unknown::NonDelegatingRelease() noexcept {
    const ULONG left = references_.fetch_sub(1, std::memory_order_acq_rel) - 1;
    if (left == 0) delete this;
    return left;
}

HRESULT Unknown::QueryFrame(const kv::IdBits& id, void** object) noexcept {
    *object = nullptr;
    if (id == idOf<IUnknown>) {
        NonDelegatingAddRef();
        *object = Own();
        return S_OK;
    }
    if (!TearOff::Knows(id)) return E_NOINTERFACE;
    TearOff* const tearOff = DemandTearOff();
    if (!tearOff) return E_OUTOFMEMORY;
    void* const found = tearOff->Find(id);
    if (!found) return E_NOINTERFACE;
    Controlling()->AddRef();
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

TearOff* Unknown::DemandTearOff() noexcept try {
    TearOff* tearOff = tearOff_.load(std::memory_order_acquire);
    if (tearOff) return tearOff;
    auto made = std::make_unique<TearOff>(*this);
    // Two callers at once: the one that comes second uses what the first one made.
    return tearOff_.compare_exchange_strong(tearOff, made.get(), std::memory_order_acq_rel) ? made.release() : tearOff;
} catch (...) {
    return nullptr;
}

void* Unknown::operator new(std::size_t size) {
    void* block = kv::TakeBlock(size);
    if (!block) throw std::bad_alloc();
    return block;
}

void Unknown::operator delete(void* block, std::size_t size) noexcept { kv::GiveBlock(block, size); }

}  // namespace mova
