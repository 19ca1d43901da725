#pragma once

#include <atomic>
#include <span>

#include "kvcore/IdBits.h"
#include "kvcore/Platform.h"

namespace mova {

class TearOff;

/// The compile-time bits of an interface's identifier.
template <class Interface>
inline constexpr kv::IdBits idOf = kv::BitsOf(__uuidof(Interface));

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

    ULONG STDMETHODCALLTYPE NonDelegatingAddRef() noexcept final {
        return references_.fetch_add(1, std::memory_order_relaxed) + 1;
    }
    ULONG STDMETHODCALLTYPE NonDelegatingRelease() noexcept final {
        const ULONG left = references_.fetch_sub(1, std::memory_order_acq_rel) - 1;
        if (left == 0) Destroy();
        return left;
    }

    /// The IUnknown of the object itself, its identity unless it is aggregated.
    IUnknown* Own() noexcept { return reinterpret_cast<IUnknown*>(static_cast<INonDelegatingUnknown*>(this)); }
    /// The IUnknown that stands for the object: the aggregating object's, else its own.
    IUnknown* Controlling() noexcept { return outer_ ? outer_ : Own(); }
    /// Counts a reference to an interface of the object, where such references are counted.
    ULONG AddReference() noexcept { return outer_ ? outer_->AddRef() : NonDelegatingAddRef(); }
    ULONG ReleaseReference() noexcept { return outer_ ? outer_->Release() : NonDelegatingRelease(); }

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

    /// The aggregating object; null where there is none.
    IUnknown* Outer() const noexcept { return outer_; }

    /// The rest of a query, for what is not an interface of the class: IUnknown and the tear-off's interfaces. The
    /// halves of the identifier come one by one because so they travel in registers. @param object is null already
    HRESULT QueryFrame(std::uint64_t idFirst, std::uint64_t idSecond, void** object) noexcept;

 private:
    TearOff* MakeTearOff() noexcept;
    void Destroy() noexcept;

    std::atomic<ULONG> references_{1};
    IUnknown* const outer_;
    std::atomic<TearOff*> tearOff_{nullptr};
};

}  // namespace mova
