#pragma once

#include <atomic>

#include <movaServer.h>
#include "kvcore/CriticalSection.h"
#include "server/ThreadMap.h"
#include "server/Unknown.h"

namespace mova {

/// Constructs an object of a class. @param outer the aggregating object, null for none. @throw whatever stops it
using Constructor = Unknown* (*)(IUnknown* outer);

template <class Class>
Unknown* Construct(IUnknown* outer) {
    return new Class(outer);
}

/// What both kinds of class factory share. A factory lives as long as the module and does not hold it loaded.
class ClassFactory : public IClassFactory {
 public:
    STDMETHODIMP QueryInterface(REFIID iid, void** object) noexcept override;
    STDMETHODIMP_(ULONG) AddRef() noexcept override { return references_.fetch_add(1, std::memory_order_relaxed) + 1; }
    STDMETHODIMP_(ULONG) Release() noexcept override { return references_.fetch_sub(1, std::memory_order_relaxed) - 1; }

    STDMETHODIMP LockServer(BOOL lock) noexcept override;

 protected:
    constexpr explicit ClassFactory(Constructor construct) noexcept : construct_(construct) {}
    ~ClassFactory() = default;

    /// @throw whatever the constructor throws
    Unknown* Construct(IUnknown* outer) const { return construct_(outer); }

 private:
    Constructor construct_;
    std::atomic<ULONG> references_{1};
};

/// Makes a new object for every request.
class PlainFactory final : public ClassFactory {
 public:
    constexpr explicit PlainFactory(Constructor construct) noexcept : ClassFactory(construct) {}
    STDMETHODIMP CreateInstance(IUnknown* outer, REFIID iid, void** object) noexcept override;
};

/// Makes one object for each thread that asks, and keeps it until that thread asks for its release.
class SingletonFactory final : public ClassFactory, public ISingletonRelease {
 public:
    explicit SingletonFactory(Constructor construct) noexcept : ClassFactory(construct) {}
    ~SingletonFactory();

    STDMETHODIMP QueryInterface(REFIID iid, void** object) noexcept override;
    STDMETHODIMP_(ULONG) AddRef() noexcept override { return ClassFactory::AddRef(); }
    STDMETHODIMP_(ULONG) Release() noexcept override { return ClassFactory::Release(); }

    STDMETHODIMP CreateInstance(IUnknown* outer, REFIID iid, void** object) noexcept override;
    STDMETHODIMP ReleaseInstance() noexcept override;

 private:
    kv::KvCriticalSection section_;
    ThreadMap<Unknown*> instances_;  // each holds the reference that it was constructed with
};

template <class Class>
inline constinit PlainFactory plainFactory{&Construct<Class>};
template <class Class>
inline SingletonFactory singletonFactory{&Construct<Class>};

}  // namespace mova
