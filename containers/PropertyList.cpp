#include "containers/PropertyList.h"

#include "containers/NameFold.h"
#include "containers/SystemNames.h"

namespace mova {
namespace {

/// Whether a property has a name: how the two are compared follows from the property's name alone.
auto Named(std::u16string_view name) noexcept {
    return [=](const NamedProperty& property) noexcept { return SameName(property.Text(), property.ascii, name); };
}

}  // namespace

PropertyList::Entry PropertyList::MakeEntry(std::u16string_view name, kv::Variant value) {
    return NamedProperty::Make(name, HashName(name), IsAsciiName(name), std::move(value));
}

kv::Variant* PropertyList::FindFirst(std::u16string_view name) noexcept {
    NamedProperty* found = entries_.FindFirst(HashName(name), Named(name));
    return found ? &found->value : nullptr;
}

const kv::Variant* PropertyList::FindLast(std::u16string_view name) const noexcept {
    const NamedProperty* found = entries_.FindLast(HashName(name), Named(name));
    return found ? &found->value : nullptr;
}

bool PropertyList::IsWithin(const PropertyList& other) const {
    for (std::size_t i = 0; i < Count(); ++i) {
        const kv::Variant* mine = FindLast(NameAt(i));
        const kv::Variant* theirs = other.FindLast(NameAt(i));
        if (!mine || !theirs || !kv::SameValue(mine->Get(), theirs->Get())) return false;
    }
    return true;
}

void PropertyList::Set(Entry entry) {
    if (NamedProperty* found = entries_.FindFirst(entry->link.hash, Named(entry->Text()))) {
        found->value = std::move(entry->value);
    } else {
        Append(std::move(entry));
    }
}

bool PropertyList::Remove(std::u16string_view name) noexcept {
    NamedProperty* found = entries_.FindLast(HashName(name), Named(name));
    if (!found) return false;
    entries_.Remove(*found);
    return true;
}

}  // namespace mova
