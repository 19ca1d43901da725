#include "server/ClassFactory.h"

#include <memory>

#include "kvcore/BString.h"
#include "server/Census.h"
#include "server/Component.h"
#include "server/Module.h"

namespace mova {
namespace {

/// The census of live objects, for whoever hunts a leak; it belongs to the module as the factories do.
class ObjectCensus final : public IObjectCensus {
 public:
    STDMETHODIMP QueryInterface(REFIID iid, void** object) noexcept override {
        if (!object) return E_POINTER;
        const bool known = !kv::IsNull(&iid) && (iid == __uuidof(IObjectCensus) || iid == __uuidof(IUnknown));
        *object = known ? this : nullptr;
        return known ? S_OK : E_NOINTERFACE;
    }
    STDMETHODIMP_(ULONG) AddRef() noexcept override { return 1; }
    STDMETHODIMP_(ULONG) Release() noexcept override { return 1; }

    STDMETHODIMP GetReport(BSTR* report) noexcept override try {
        if (!report) return Refuse(E_POINTER);
        *report = nullptr;
        *report = kv::BString(CensusReport()).Detach();
        return S_OK;
    } catch (...) {
        return CaughtStatus();
    }
};

constinit ObjectCensus census;

struct Releaser {
    void operator()(Unknown* object) const noexcept { object->NonDelegatingRelease(); }
};

}  // namespace

STDMETHODIMP ClassFactory::QueryInterface(REFIID iid, void** object) noexcept {
    if (!object) return E_POINTER;
    *object = nullptr;
    if (kv::IsNull(&iid)) return E_INVALIDARG;
    const kv::IdBits id = kv::BitsOf(iid);
    if (id == idOf<IClassFactory> || id == idOf<IUnknown>) {
        AddRef();
        *object = static_cast<IClassFactory*>(this);
        return S_OK;
    }
    return keepsCensus && id == idOf<IObjectCensus> ? census.QueryInterface(iid, object) : E_NOINTERFACE;
}

STDMETHODIMP ClassFactory::LockServer(BOOL lock) noexcept {
    lockCount += lock ? 1 : -1;
    return S_OK;
}

STDMETHODIMP PlainFactory::CreateInstance(IUnknown* outer, REFIID iid, void** object) noexcept try {
    if (!object) return E_POINTER;
    *object = nullptr;
    if (kv::IsNull(&iid)) return E_INVALIDARG;
    if (!outer) {
        Unknown* const made = Construct(nullptr);
        const HRESULT status = made->NonDelegatingQueryInterface(iid, object);
        made->NonDelegatingRelease();
        return status;
    }
    if (kv::BitsOf(iid) != idOf<IUnknown>) return CLASS_E_NOAGGREGATION;
    *object = Construct(outer)->Own();
    return S_OK;
} catch (...) {
    return CaughtStatus();
}

SingletonFactory::~SingletonFactory() {
    SingletonFactory::ReleaseInstance();
}

STDMETHODIMP SingletonFactory::QueryInterface(REFIID iid, void** object) noexcept {
    if (!object || kv::IsNull(&iid) || kv::BitsOf(iid) != idOf<ISingletonRelease>)
        return ClassFactory::QueryInterface(iid, object);
    AddRef();
    *object = static_cast<ISingletonRelease*>(this);
    return S_OK;
}

STDMETHODIMP SingletonFactory::CreateInstance(IUnknown* outer, REFIID iid, void** object) noexcept try {
    if (!object) return E_POINTER;
    const kv::KvAutoLock lock(section_);
    *object = nullptr;
    if (outer) return CLASS_E_NOAGGREGATION;
    const DWORD thread = GetCurrentThreadId();
    if (Unknown** cached = instances_.Find(thread)) return (*cached)->NonDelegatingQueryInterface(iid, object);

    std::unique_ptr<Unknown, Releaser> made(Construct(nullptr));
    instances_.Insert(thread, made.get());
    const HRESULT status = made->NonDelegatingQueryInterface(iid, object);
    if (FAILED(status)) {
        instances_.Remove(thread);
    } else {
        (void)made.release();  // the map holds it now
    }
    return status;
} catch (...) {
    return CaughtStatus();
}

STDMETHODIMP SingletonFactory::ReleaseInstance() noexcept {
    Unknown* instance = nullptr;
    {
        const kv::KvAutoLock lock(section_);
        instance = instances_.Remove(GetCurrentThreadId());
    }
    if (instance) instance->NonDelegatingRelease();
    return S_OK;
}

}  // namespace mova
