#include "xml/TypeMap.h"

#include <algorithm>
#include <array>
#include <functional>

namespace xml {
namespace {

/// An identifier from the groups of its text, the last two as one.
constexpr kv::IdBits Id(std::uint64_t first, std::uint64_t second, std::uint64_t third, std::uint64_t rest) noexcept {
    std::uint64_t inMemory = 0;  // the rest is a row of bytes
    for (int byte = 0; byte < 8; ++byte) inMemory = inMemory << 8 | (rest >> 8 * byte & 0xFF);
    return {first | second << 32 | third << 48, inMemory};
}

constexpr auto ownTypes = std::to_array<OwnType>({
    {u"PropertySet", Id(0x588E5A11, 0xD09B, 0x11D1, 0xAA7C00C04FA33A15), SchemaRelease::V9_0},
    {u"PropertySetProperty", Id(0x5B6D2B14, 0xF64A, 0x4457, 0x84E0617AE2130FF9), SchemaRelease::V9_0},
    {u"PropertySetArray", Id(0xC94BBD8A, 0xEC33, 0x4921, 0x8EC36AD4B33232C3), SchemaRelease::V9_0},
    {u"PropertySetPropertyArray", Id(0x4FAEB515, 0x22D6, 0x4FF8, 0x8D3C108858856D6A), SchemaRelease::V9_0},
    {u"StrArray", Id(0xA7F92065, 0x36CE, 0x47B6, 0xA4634763DA947CC2), SchemaRelease::V9_0},
    {u"UID", Id(0x78FF7FA1, 0xFB2F, 0x11D1, 0x94A2080009EEBECB), SchemaRelease::V9_0},
    {u"NumericFormat", Id(0x7E4F4719, 0x8E54, 0x11D2, 0xAAD8000000000000), SchemaRelease::V9_3},
    {u"Time", Id(0xE1721810, 0x8210, 0x45B1, 0x8590FC4C911FBA20), SchemaRelease::V9_3},
    {u"TimeDuration", Id(0x09692C1C, 0x21FA, 0x4FE2, 0x8EFA6C4ACB59A323), SchemaRelease::V9_3},
});

/// The library's own type of a name in a namespace; null where it is none.
const OwnType* FindOwn(const TypeName& type) noexcept {
    const auto release = ReleaseOf(type.uri);
    if (!release) return nullptr;
    for (const OwnType& own : ownTypes)
        if (own.name == type.name) return own.earliest <= *release ? &own : nullptr;
    return nullptr;
}

}  // namespace

std::span<const OwnType> OwnTypes() noexcept {
    return ownTypes;
}

std::size_t TypeMap::HashType::operator()(const TypeName& type) const noexcept {
    const std::hash<std::u16string_view> hash;
    return hash(type.name) * 31 + hash(type.uri);
}

std::size_t TypeMap::HashClass::operator()(const kv::IdBits& id) const noexcept {
    return std::hash<std::uint64_t>()(id.first ^ id.second * 0x9E3779B97F4A7C15);
}

bool TypeMap::Add(const TypeName& type, const kv::IdBits& classId) {
    if (const auto there = FindClass(type)) return *there == classId;
    auto added = std::make_unique<AddedType>(type, classId, nextNumber_);
    if (added_.size() == added_.capacity()) added_.reserve(added_.size() * 2 + 8);
    const auto place = byType_.insert(added.get()).first;
    try {
        firstOfClass_.try_emplace(classId, added.get());
    } catch (...) {
        byType_.erase(place);
        throw;
    }
    added_.push_back(std::move(added));
    ++nextNumber_;
    return true;
}

TypeMap::Removal TypeMap::Remove(const TypeName& type) noexcept {
    if (FindOwn(type)) return Removal::Own;
    const auto found = byType_.find(type);
    if (found == byType_.end()) return Removal::NotThere;
    const AddedType& removed = **found;
    const auto place = std::lower_bound(added_.begin(), added_.end(), removed.number,
                                        [](const auto& added, std::uint64_t number) { return added->number < number; });
    byType_.erase(found);
    ForgetFirst(removed);
    added_.erase(place);
    return Removal::Removed;
}

/// Where a type that is being removed was the first of its class, the next one is from now on.
void TypeMap::ForgetFirst(const AddedType& removed) noexcept {
    const auto first = firstOfClass_.find(removed.classId);
    if (first == firstOfClass_.end() || first->second != &removed) return;
    const auto next = std::find_if(added_.begin(), added_.end(), [&](const auto& added) {
        return added.get() != &removed && added->classId == removed.classId;
    });
    if (next == added_.end()) {
        firstOfClass_.erase(first);
    } else {
        first->second = next->get();
    }
}

std::optional<kv::IdBits> TypeMap::FindClass(const TypeName& type) const noexcept {
    if (const OwnType* const own = FindOwn(type)) return own->classId;
    const auto found = byType_.find(type);
    if (found == byType_.end()) return {};
    return (*found)->classId;
}

std::optional<TypeName> TypeMap::FindType(const kv::IdBits& classId, SchemaRelease release) const noexcept {
    for (const OwnType& own : ownTypes)
        if (own.classId == classId && own.earliest <= release) return TypeName{own.name, NamespaceOf(release)};
    const auto found = firstOfClass_.find(classId);
    if (found == firstOfClass_.end()) return {};
    return found->second->Type();
}

TypeMap::Entry TypeMap::At(std::size_t index) const noexcept {
    if (index < ownTypes.size()) return {{ownTypes[index].name, NamespaceOf(newestRelease)}, ownTypes[index].classId};
    const AddedType& added = *added_[index - ownTypes.size()];
    return {added.Type(), added.classId};
}

}  // namespace xml
