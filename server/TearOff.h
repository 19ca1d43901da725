#pragma once

#include <atomic>

#include <movaServer.h>
#include "kvcore/Ptr.h"
#include "server/Unknown.h"

namespace mova {

/// The interfaces that every object answers through the frame, in an object of their own that is made when the first of
/// them is asked for. A reference to it is a reference to its owner, which keeps it until both are destroyed: handing
/// it out again costs no more than handing out an interface of the class.
class TearOff final : public ISupportErrorInfo, public IClassID, public IDispatch {
 public:
    explicit TearOff(Unknown& owner) noexcept;
    ~TearOff();
    TearOff(const TearOff&) = delete;
    TearOff& operator=(const TearOff&) = delete;

    /// Whether the identifier is one of an interface that a tear-off may answer.
    static bool Knows(const kv::IdBits& id) noexcept {
        return id == idOf<ISupportErrorInfo> || id == idOf<IClassID> || id == idOf<IDispatch>;
    }
    /// The interface, uncounted; null where it is none of those, or the owner's class does not offer it.
    void* Find(const kv::IdBits& id) noexcept {
        if (id == idOf<ISupportErrorInfo>) return reportsErrors_ ? static_cast<ISupportErrorInfo*>(this) : nullptr;
        if (id == idOf<IDispatch>) return HasType() ? static_cast<IDispatch*>(this) : nullptr;
        return id == idOf<IClassID> ? static_cast<IClassID*>(this) : nullptr;
    }

    STDMETHODIMP QueryInterface(REFIID iid, void** object) noexcept override;
    STDMETHODIMP_(ULONG) AddRef() noexcept override;
    STDMETHODIMP_(ULONG) Release() noexcept override;

    // ISupportErrorInfo: S_OK for the interfaces of the owner's class, else S_FALSE
    STDMETHODIMP InterfaceSupportsErrorInfo(REFIID iid) noexcept override;
    // IClassID
    STDMETHODIMP GetClassID(CLSID* classId) noexcept override;
    // IDispatch, from the type library's descriptions of the owner's interfaces: a name is that of the first one that
    // has it
    STDMETHODIMP GetTypeInfoCount(UINT* count) noexcept override;
    STDMETHODIMP GetTypeInfo(UINT index, LCID locale, ITypeInfo** info) noexcept override;
    STDMETHODIMP GetIDsOfNames(REFIID iid, LPOLESTR* names, UINT count, LCID locale, DISPID* ids) noexcept override;
    STDMETHODIMP Invoke(DISPID member, REFIID iid, LCID locale, WORD flags, DISPPARAMS* parameters, VARIANT* result,
                        EXCEPINFO* exception, UINT* argumentInError) noexcept override;

    static void* operator new(std::size_t size);
    static void operator delete(void* block, std::size_t size) noexcept;

 private:
    /// Whether automation can call the owner, which the type library is asked for once.
    bool HasType() noexcept {
        if (!lookedForType_.load(std::memory_order_acquire)) [[unlikely]]
            LookForType();
        return static_cast<bool>(type_);
    }
    void LookForType() noexcept;

    Unknown& owner_;
    const bool reportsErrors_;
    std::atomic<bool> lookedForType_ = false;  ///< what follows is set before it is, and then never again
    kv::Ptr<ITypeInfo> type_;                  ///< of the first interface that is fit for automation
    void* target_ = nullptr;                   ///< that interface, in the owner
};

}  // namespace mova
