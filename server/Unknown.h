#pragma once

#include <atomic>
#include <span>

#include "kvcore/IdBits.h"
#include "kvcore/Platform.h"

namespace mova {

struct ClassEntry;
class TearOff;

/// The slots of IUnknown under names of their own, so that one object can have both an IUnknown that delegates to an
/// aggregating object and one that does not. A pointer to it is a pointer to an IUnknown.
struct INonDelegatingUnknown {
    virtual HRESULT STDMETHODCALLTYPE NonDelegatingQueryInterface(REFIID iid, void** object) noexcept = 0;
    virtual ULONG STDMETHODCALLTYPE NonDelegatingAddRef() noexcept = 0;
    virtual ULONG STDMETHODCALLTYPE NonDelegatingRelease() noexcept = 0;

 protected:
    ~INonDelegatingUnknown() = default;
};

/// An interface of a class and where an object has it.
struct InterfaceRow {
    kv::IdBits id;
    void* (*pointer)(class Unknown* object) noexcept;
};

/// The base of every component class: identity, atomic counting, the module's lock count from construction to
/// destruction, aggregation, and the tear-off that answers ISupportErrorInfo, IClassID and IDispatch.
class Unknown : public INonDelegatingUnknown {
 public:
    Unknown(const Unknown&) = delete;
    Unknown& operator=(const Unknown&) = delete;

    HRESULT STDMETHODCALLTYPE NonDelegatingQueryInterface(REFIID iid, void** object) noexcept final;
    ULONG STDMETHODCALLTYPE NonDelegatingAddRef() noexcept final {
        return references_.fetch_add(1, std::memory_order_relaxed) + 1;
    }
    ULONG STDMETHODCALLTYPE NonDelegatingRelease() noexcept final;

    /// The IUnknown of the object itself, its identity unless it is aggregated.
    IUnknown* Own() noexcept { return reinterpret_cast<IUnknown*>(static_cast<INonDelegatingUnknown*>(this)); }
    /// The IUnknown that stands for the object: the aggregating object's, else its own.
    IUnknown* Controlling() noexcept { return outer_ ? outer_ : Own(); }

    virtual const CLSID& ClassId() const noexcept = 0;
    /// The interfaces of the class, its main one first.
    virtual std::span<const InterfaceRow> Interfaces() const noexcept = 0;
    /// Whether the class reports rich errors.
    virtual bool ReportsErrors() const noexcept { return true; }

    /// What error information names as the source of a failure: at most 127 characters and a NUL, put into the buffer.
    virtual void ErrorSource(HRESULT status, UINT messageId, const char16_t* text,
                             std::span<char16_t, 128> source) const noexcept;
    /// The help file that error information names; null for none.
    virtual const char16_t* HelpFile() const noexcept { return nullptr; }

    static void* operator new(std::size_t size);
    static void operator delete(void* block, std::size_t size) noexcept;

 protected:
    /// @param outer the aggregating object, null for none; not counted, since it holds this one.
    explicit Unknown(IUnknown* outer) noexcept;
    virtual ~Unknown();

    bool IsAggregated() const noexcept { return outer_ != nullptr; }
    IUnknown* Outer() const noexcept { return outer_; }
    /// The interface of the class with that identifier, uncounted; null where it has none.
    virtual void* FindInterface(const kv::IdBits& id) noexcept = 0;

    /// The rest of a query, for what is not an interface of the class.
    HRESULT QueryFrame(const kv::IdBits& id, void** object) noexcept;

 private:
    TearOff* DemandTearOff() noexcept;

    std::atomic<ULONG> references_{1};
    IUnknown* const outer_;
    std::atomic<TearOff*> tearOff_{nullptr};
};

}  // namespace mova
