#include "containers/PropertyList.h"

#include "containers/NameFold.h"

extern "C" NTSYSAPI WCHAR NTAPI RtlUpcaseUnicodeChar(WCHAR character);

namespace mova {
namespace {

// The system's own table, the one behind ordinal comparison: the same for every user and language.
char16_t SystemUpcase(char16_t character) noexcept { return static_cast<char16_t>(RtlUpcaseUnicodeChar(character)); }

std::uint32_t Hash(std::u16string_view name) noexcept {
    const auto seed = reinterpret_cast<std::uintptr_t>(&SystemUpcase);  // differs by where the module was loaded
    return HashName(name, seed, &SystemUpcase);
}

/// Whether an entry has a name: how the two are compared follows from the entry's name alone.
auto Named(std::u16string_view name) noexcept {
    return [=](const PropertyList::Entry& entry) noexcept {
        return entry->record.ascii ? SameAsciiName(entry->Text(), name) : SameName(entry->Text(), name, &SystemUpcase);
    };
}

}  // namespace

PropertyList::Entry PropertyList::MakeEntry(std::u16string_view name, kv::Variant value) {
    return kv::WithText<Property>::Make(name, IsAsciiName(name), std::move(value));
}

kv::Variant* PropertyList::FindFirst(std::u16string_view name) noexcept {
    const std::size_t position = entries_.FindFirst(Hash(name), Named(name));
    return position == entries_.none ? nullptr : &entries_[position]->record.value;
}

const kv::Variant* PropertyList::FindLast(std::u16string_view name) const noexcept {
    const std::size_t position = entries_.FindLast(Hash(name), Named(name));
    return position == entries_.none ? nullptr : &entries_[position]->record.value;
}

void PropertyList::Append(Entry entry) {
    const std::uint32_t hash = Hash(entry->Text());
    entries_.Append(hash, std::move(entry));
}

void PropertyList::Set(Entry entry) {
    const std::uint32_t hash = Hash(entry->Text());
    const std::size_t position = entries_.FindFirst(hash, Named(entry->Text()));
    if (position == entries_.none) {
        entries_.Append(hash, std::move(entry));
    } else {
        entries_[position]->record.value = std::move(entry->record.value);
    }
}

bool PropertyList::Remove(std::u16string_view name) noexcept {
    const std::size_t position = entries_.FindLast(Hash(name), Named(name));
    if (position == entries_.none) return false;
    entries_.RemoveAt(position);
    return true;
}

}  // namespace mova
