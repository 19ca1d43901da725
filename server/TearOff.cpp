#include "server/TearOff.h"

#include <algorithm>
#include <new>

#include "kvcore/CriticalSection.h"
#include "kvcore/Variant.h"
#include "server/Census.h"
#include "server/Component.h"
#include "server/Module.h"
#include "server/TypeLibrary.h"

namespace mova {
namespace {

/// Hands an object out through IDispatch where it has it: scripts can do nothing with a plain IUnknown.
void OfferToScripts(VARIANT& value) noexcept {
    IDispatch* dispatch = nullptr;
    if (value.vt != VT_UNKNOWN || !value.punkVal ||
        FAILED(value.punkVal->QueryInterface(__uuidof(IDispatch), reinterpret_cast<void**>(&dispatch))))
        return;
    kv::Ptr<IUnknown>::Attach(value.punkVal);
    value.vt = VT_DISPATCH;
    value.pdispVal = dispatch;
}

// The type library numbers the members of an interface from 0x60010000 on. Those of an interface after the first that
// is fit for automation are told by its place in the class's list, in the bits that all these numbers have free.
constexpr DISPID numbered = 0x60000000;
constexpr DISPID numberedMask = ~0x0FFFFFFF;
constexpr int placeShift = 24;
constexpr DISPID placeMask = 0x0F000000;
constexpr std::size_t mostPlaces = 16;

constinit kv::StaticLock typeLock;  // of all tear-offs: each takes it once

/// The place of a member's interface; 0 for the first that is fit for automation.
std::size_t PlaceOf(DISPID member) noexcept {
    return (member & numberedMask) == numbered ? static_cast<std::size_t>((member & placeMask) >> placeShift) : 0;
}

}  // namespace

TearOff::TearOff(Unknown& owner) noexcept : owner_(owner), reportsErrors_(owner.ReportsErrors()) {
    ++lockCount;
    if constexpr (keepsCensus) CountObject(__uuidof(ISupportErrorInfo), u"tear-off", 1);
}

TearOff::~TearOff() {
    if constexpr (keepsCensus) CountObject(__uuidof(ISupportErrorInfo), u"tear-off", -1);
    --lockCount;
}

void TearOff::LookForType() noexcept try {
    const auto interfaces = owner_.Interfaces();
    kv::Ptr<ITypeInfo> type;
    const auto found = std::find_if(interfaces.begin(), interfaces.end(), [&](const InterfaceRow& row) {
        type = FindAutomationType(row.id);
        return static_cast<bool>(type);
    });
    const kv::KvAutoLock lock(typeLock);  // more than one thread may ask an object for its interfaces
    if (lookedForType_) return;
    if (type) target_ = found->pointer(&owner_);
    type_ = std::move(type);
    lookedForType_.store(true, std::memory_order_release);
} catch (...) {
    return;  // for lack of memory; the next one who asks tries again
}

STDMETHODIMP TearOff::QueryInterface(REFIID iid, void** object) noexcept {
    return owner_.Controlling()->QueryInterface(iid, object);
}
STDMETHODIMP_(ULONG) TearOff::AddRef() noexcept {
    return owner_.AddReference();
}
STDMETHODIMP_(ULONG) TearOff::Release() noexcept {
    return owner_.ReleaseReference();
}

STDMETHODIMP TearOff::InterfaceSupportsErrorInfo(REFIID iid) noexcept {
    if (kv::IsNull(&iid)) return E_INVALIDARG;
    const auto interfaces = owner_.Interfaces();
    const bool supports = std::any_of(interfaces.begin(), interfaces.end(),
                                      [id = kv::BitsOf(iid)](const InterfaceRow& row) { return row.id == id; });
    return supports ? S_OK : S_FALSE;
}

STDMETHODIMP TearOff::GetClassID(CLSID* classId) noexcept {
    if (!classId) return Refuse(E_POINTER);
    *classId = owner_.ClassId();
    return S_OK;
}

STDMETHODIMP TearOff::GetTypeInfoCount(UINT* count) noexcept {
    if (!count) return Refuse(E_POINTER);
    *count = 1;
    return S_OK;
}

STDMETHODIMP TearOff::GetTypeInfo(UINT index, LCID, ITypeInfo** info) noexcept {
    if (!info) return Refuse(E_POINTER);
    *info = nullptr;
    if (index != 0) return Refuse(DISP_E_BADINDEX);
    *info = kv::Ptr<ITypeInfo>(type_).Detach();
    return S_OK;
}

STDMETHODIMP TearOff::GetIDsOfNames(REFIID, LPOLESTR* names, UINT count, LCID, DISPID* ids) noexcept try {
    if (count == 0 || !names || !ids || std::find(names, names + count, nullptr) != names + count)
        return Refuse(E_INVALIDARG);
    HRESULT status = DispGetIDsOfNames(type_.Get(), names, count, ids);
    const auto interfaces = owner_.Interfaces().first(std::min(owner_.Interfaces().size(), mostPlaces));
    for (std::size_t place = 1; status == DISP_E_UNKNOWNNAME && place < interfaces.size(); ++place) {
        const auto type = FindAutomationType(interfaces[place].id);
        if (!type) continue;
        status = DispGetIDsOfNames(type.Get(), names, count, ids);
        if (SUCCEEDED(status)) ids[0] |= static_cast<DISPID>(place) << placeShift;
    }
    return status;
} catch (...) {
    return CaughtStatus();
}

STDMETHODIMP TearOff::Invoke(DISPID member, REFIID, LCID, WORD flags, DISPPARAMS* parameters, VARIANT* result,
                             EXCEPINFO* exception, UINT* argumentInError) noexcept try {
    if (!parameters || !kv::IsComplete(*parameters)) return Refuse(E_INVALIDARG);
    void* target = target_;
    auto type = type_;
    if (const std::size_t place = PlaceOf(member); place != 0) {
        const auto interfaces = owner_.Interfaces();
        type = place < interfaces.size() ? FindAutomationType(interfaces[place].id) : kv::Ptr<ITypeInfo>();
        if (!type) return Refuse(DISP_E_MEMBERNOTFOUND);
        target = interfaces[place].pointer(&owner_);
        member &= ~placeMask;
    }
    const HRESULT status =
        DispInvoke(target, type.Get(), member, flags, parameters, result, exception, argumentInError);
    if (SUCCEEDED(status) && result) OfferToScripts(*result);
    return status;
} catch (...) {
    return CaughtStatus();
}

void* TearOff::operator new(std::size_t size) {
    return Unknown::operator new(size);
}
void TearOff::operator delete(void* block, std::size_t size) noexcept {
    Unknown::operator delete(block, size);
}

}  // namespace mova
