#pragma once

#include "containers/HashedList.h"
#include "kvcore/Variant.h"
#include "kvcore/WithText.h"

namespace mova {

/// The value of a property; the name stands behind it in the same block.
struct Property {
    Property(std::size_t nameLength, bool isAscii, kv::Variant&& held) noexcept
        : value(std::move(held)), length(static_cast<std::uint32_t>(nameLength)), ascii(isAscii) {}

    std::size_t Length() const noexcept { return length; }

    kv::Variant value;
    std::uint32_t length;
    bool ascii;  ///< every character of the name is below 127: only A to Z are folded in comparing
};

/// The named values of a property set in their order. Names are matched without regard to case, over their whole length.
class PropertyList {
 public:
    using Entry = kv::WithText<Property>::Owner;

    static Entry MakeEntry(std::u16string_view name, kv::Variant value);

    std::size_t Count() const noexcept { return entries_.Count(); }
    std::u16string_view NameAt(std::size_t position) const noexcept { return entries_[position]->Text(); }
    const kv::Variant& ValueAt(std::size_t position) const noexcept { return entries_[position]->record.value; }

    /// The value of the first property with the name; null where there is none.
    kv::Variant* FindFirst(std::u16string_view name) noexcept;
    /// The value of the last property with the name; null where there is none.
    const kv::Variant* FindLast(std::u16string_view name) const noexcept;

    void ReserveMore(std::size_t more) { entries_.ReserveMore(more); }
    /// Appends a property, whether or not another has its name. @throw std::bad_alloc, nothing being changed
    void Append(Entry entry);
    /// Gives the first property with the entry's name the entry's value, or appends the entry.
    /// @throw std::bad_alloc, nothing being changed; never once room was reserved
    void Set(Entry entry);
    /// Removes the last property with the name; the last of all moves into its place. @return false where there is none
    bool Remove(std::u16string_view name) noexcept;
    void Clear() noexcept { entries_.Clear(); }
    void Swap(PropertyList& other) noexcept { entries_.Swap(other.entries_); }

 private:
    HashedList<Entry> entries_;
};

}  // namespace mova
