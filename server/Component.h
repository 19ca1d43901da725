#pragma once

#include <array>

#include "server/Census.h"
#include "server/Refusal.h"
#include "server/Unknown.h"

namespace mova {

/// In a component's list of interfaces: an interface that extends earlier generations of itself, which are answered
/// too.
template <class Newest, class... Earlier>
struct Generations {};

namespace detail {

/// What an item of the list contributes: a base class, and the interfaces that are answered through it.
template <class Item>
struct Offer {
    using Base = Item;
    static constexpr std::array<kv::IdBits, 1> Ids() noexcept { return {idOf<Item>}; }
    static constexpr bool Has(const kv::IdBits& id) noexcept { return id == idOf<Item>; }
};
template <class Newest, class... Earlier>
struct Offer<Generations<Newest, Earlier...>> {
    using Base = Newest;
    static constexpr std::array<kv::IdBits, 1 + sizeof...(Earlier)> Ids() noexcept {
        return {idOf<Newest>, idOf<Earlier>...};
    }
    static constexpr bool Has(const kv::IdBits& id) noexcept {
        return id == idOf<Newest> || ((id == idOf<Earlier>) || ...);
    }
};

}  // namespace detail

/// The one way to write a class: it derives from this with itself, its coclass of the type library, and its interfaces,
/// the main one first; identity, counting, aggregation and QueryInterface come from that list.
template <class Self, class Coclass, class... Items>
class Component : public Unknown, public detail::Offer<Items>::Base... {
 public:
    static constexpr const CLSID& classId = __uuidof(Coclass);

    explicit Component(IUnknown* outer) noexcept : Unknown(outer) {
        if constexpr (keepsCensus) CountObject(classId, ReportedName(), 1);
    }

    STDMETHODIMP QueryInterface(REFIID iid, void** object) noexcept final {
        return Outer() ? Outer()->QueryInterface(iid, object) : Query(iid, object);
    }
    STDMETHODIMP_(ULONG) AddRef() noexcept final { return AddReference(); }
    STDMETHODIMP_(ULONG) Release() noexcept final { return ReleaseReference(); }

    HRESULT STDMETHODCALLTYPE NonDelegatingQueryInterface(REFIID iid, void** object) noexcept final {
        return Query(iid, object);
    }

    const CLSID& ClassId() const noexcept final { return classId; }
    std::span<const InterfaceRow> Interfaces() const noexcept final { return rows; }

 protected:
    ~Component() override {
        if constexpr (keepsCensus) CountObject(classId, ReportedName(), -1);
    }

    /// A new object of the class, with one reference that the caller owns. @throw std::bad_alloc
    static Self* Make() { return new Self(nullptr); }

    /// Refuses an operation of an interface with a text that says why. @return the status
    template <class Interface>
    HRESULT Refuse(HRESULT status, const char16_t* text) const noexcept {
        return ReportError(*this, status, 0, text, __uuidof(Interface));
    }
    /// Refuses without a text. @return the status
    static HRESULT Refuse(HRESULT status) noexcept { return mova::Refuse(status); }

 private:
    /// The name that a class reports itself under where it states another than the class table's.
    static constexpr const char16_t* ReportedName() noexcept {
        if constexpr (requires { Self::reportedName; }) return Self::reportedName;
        return nullptr;
    }

    HRESULT Query(REFIID iid, void** object) noexcept {
        if (!object) return E_POINTER;
        *object = nullptr;
        if (kv::IsNull(&iid)) return E_INVALIDARG;
        const kv::IdBits id = kv::BitsOf(iid);
        void* const found = FindInterface(id);
        if (!found) return QueryFrame(id.first, id.second, object);
        AddReference();
        *object = found;
        return S_OK;
    }

    /// The interface of the class with that identifier, uncounted; null where it has none.
    void* FindInterface(const kv::IdBits& id) noexcept {
        void* found = nullptr;
        (void)((detail::Offer<Items>::Has(id) &&
                (found = static_cast<typename detail::Offer<Items>::Base*>(this), true)) ||
               ...);
        return found;
    }

    template <class Item>
    static void* PointerTo(Unknown* object) noexcept {
        return static_cast<typename detail::Offer<Item>::Base*>(static_cast<Component*>(object));
    }
    static constexpr auto MakeRows() noexcept {
        std::array<InterfaceRow, (detail::Offer<Items>::Ids().size() + ...)> made{};
        std::size_t next = 0;
        const auto add = [&](std::span<const kv::IdBits> ids, auto pointer) {
            for (const kv::IdBits& id : ids) made[next++] = {id, pointer};
        };
        (add(detail::Offer<Items>::Ids(), &PointerTo<Items>), ...);
        return made;
    }
    static const std::array<InterfaceRow, (detail::Offer<Items>::Ids().size() + ...)> rows;
};

template <class Self, class Coclass, class... Items>
constinit const std::array<InterfaceRow, (detail::Offer<Items>::Ids().size() + ...)>
    Component<Self, Coclass, Items...>::rows = MakeRows();

}  // namespace mova
