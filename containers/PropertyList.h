#pragma once

#include "containers/HashedList.h"
#include "kvcore/Variant.h"
#include "kvcore/WithText.h"

namespace mova {

/// Why a value is refused.
inline constexpr auto unkeepableValue = u"The value is of a kind that a property cannot keep.";

struct Property;

/// A property with its name in the same block.
using NamedProperty = kv::WithText<Property>;

struct Property {
    Property(std::uint32_t hash, bool isAscii, kv::Variant&& held) noexcept
        : link{.hash = hash}, value(std::move(held)), ascii(isAscii) {}

    HashLink<NamedProperty> link;
    kv::Variant value;
    bool ascii;  ///< every character of the name is below 127: only A to Z are folded in comparing
};

/// The named values of a property set in their order. Names are matched without regard to case, over their whole
/// length.
class PropertyList {
 public:
    using Entry = NamedProperty::Owner;

    static Entry MakeEntry(std::u16string_view name, kv::Variant value);

    std::size_t Count() const noexcept { return entries_.Count(); }
    std::u16string_view NameAt(std::size_t position) const noexcept { return entries_[position].Text(); }
    const kv::Variant& ValueAt(std::size_t position) const noexcept { return entries_[position].value; }

    /// The value of the first property with the name; null where there is none.
    kv::Variant* FindFirst(std::u16string_view name) noexcept;
    /// The value of the last property with the name; null where there is none.
    const kv::Variant* FindLast(std::u16string_view name) const noexcept;

    /// Whether each name of this list is read with the same value from another. @throw std::bad_alloc
    bool IsWithin(const PropertyList& other) const;

    void ReserveMore(std::size_t more) { entries_.ReserveMore(more); }
    /// Appends a property, whether or not another has its name. @throw std::bad_alloc, nothing being changed
    void Append(Entry entry) { entries_.Append(std::move(entry)); }
    /// Gives the first property with the entry's name the entry's value, or appends the entry.
    /// @throw std::bad_alloc, nothing being changed; never once room was reserved
    void Set(Entry entry);
    /// Removes the last property with the name; the last of all moves into its place. @return false where there is none
    bool Remove(std::u16string_view name) noexcept;
    void Clear() noexcept { entries_.Clear(); }
    void Swap(PropertyList& other) noexcept { entries_.Swap(other.entries_); }

 private:
    HashedList<Entry, kv::BlockAllocator> entries_;
};

}  // namespace mova
