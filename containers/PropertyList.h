#pragma once

#include "containers/Property.h"
#include "kvcore/BlockPool.h"

namespace mova {

/// Why a value is refused.
inline constexpr auto unkeepableValue = u"The value is of a kind that a property cannot keep.";

/// The named values of a property set in their order. Names are matched without regard to case, over their whole
/// length.
class PropertyList {
 public:
    using Entry = Property::Owner;

    /// A property that takes a value over. @throw std::bad_alloc
    static Entry MakeEntry(std::u16string_view name, kv::Variant value);

    std::size_t Count() const noexcept { return entries_.Count(); }
    const Property& operator[](std::size_t position) const noexcept { return entries_[position]; }

    /// The first property with the name; null where there is none.
    Property* FindFirst(std::u16string_view name) noexcept;
    /// The last property with the name; null where there is none.
    const Property* FindLast(std::u16string_view name) const noexcept;

    /// Whether each name of this list is read with the same value from another. @throw std::bad_alloc
    bool IsWithin(const PropertyList& other) const;

    void ReserveMore(std::size_t more) { entries_.ReserveMore(more); }
    /// Appends a property, whether or not another has its name. @throw std::bad_alloc, nothing being changed
    void Append(Entry entry) { entries_.Append(std::move(entry)); }
    /// Gives the first property with the entry's name a value, or appends the entry with it.
    /// @throw std::bad_alloc, nothing being changed; never once room was reserved
    void Set(Entry entry, kv::Variant value);
    /// Removes the last property with the name; the last of all moves into its place. @return false where there is none
    bool Remove(std::u16string_view name) noexcept;
    void Clear() noexcept { entries_.Clear(); }
    void Swap(PropertyList& other) noexcept { entries_.Swap(other.entries_); }

 private:
    HashedList<Entry, kv::BlockAllocator> entries_;
};

}  // namespace mova
