#include "containers/PropertyList.h"

#include "containers/SystemNames.h"

namespace mova {
namespace {

auto Named(std::u16string_view name) noexcept {
    return [=](const Property& property) noexcept { return property.IsNamed(name); };
}

}  // namespace

PropertyList::Entry PropertyList::MakeEntry(std::u16string_view name, kv::Variant value) {
    Entry entry = Property::Make(name, value.Get());
    entry->Take(std::move(value));
    return entry;
}

Property* PropertyList::FindFirst(std::u16string_view name) noexcept {
    return entries_.FindFirst(HashName(name), Named(name));
}

const Property* PropertyList::FindLast(std::u16string_view name) const noexcept {
    return entries_.FindLast(HashName(name), Named(name));
}

bool PropertyList::IsWithin(const PropertyList& other) const {
    for (std::size_t i = 0; i < Count(); ++i) {
        const std::u16string_view name = entries_[i].Name();
        const Property* mine = FindLast(name);
        const Property* theirs = other.FindLast(name);
        if (!mine || !theirs || !kv::SameValue(mine->Value(), theirs->Value())) return false;
    }
    return true;
}

void PropertyList::Set(Entry entry, kv::Variant value) {
    if (Property* found = entries_.FindFirst(entry->link.hash, Named(entry->Name()))) {
        found->Take(std::move(value));
    } else {
        entry->Take(std::move(value));
        Append(std::move(entry));
    }
}

bool PropertyList::Remove(std::u16string_view name) noexcept {
    Property* found = entries_.FindLast(HashName(name), Named(name));
    if (!found) return false;
    entries_.Remove(*found);
    return true;
}

}  // namespace mova
