// Which class an XML type stands for.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <unordered_map>
#include <unordered_set>
#include <vector>

#include "kvcore/IdBits.h"
#include "xml/SchemaRelease.h"

namespace xml {

/// The name of a type, without a prefix, and its namespace.
struct TypeName {
    std::u16string_view name, uri;

    friend bool operator==(const TypeName&, const TypeName&) noexcept = default;
};

/// A type of the library's own: known under the namespace of every release from its earliest on.
struct OwnType {
    std::u16string_view name;
    kv::IdBits classId;
    SchemaRelease earliest;
};
std::span<const OwnType> OwnTypes() noexcept;

/// A map between XML types and identifiers of classes. The library's own types are always in it and come first; those
/// that are added follow in their order. A type stands for one class, a class may have several types.
class TypeMap {
 public:
    /// Adds a type, or leaves it where it is there already with that class.
    /// @return false where it stands for another class, nothing being changed. @throw std::bad_alloc, likewise
    [[nodiscard]] bool Add(const TypeName& type, const kv::IdBits& classId);

    enum class Removal : std::uint8_t { Removed, NotThere, Own };
    /// Removes a type that was added; the library's own stay.
    Removal Remove(const TypeName& type) noexcept;

    /// The class of a type, whose name and namespace are compared letter by letter. Allocates nothing.
    std::optional<kv::IdBits> FindClass(const TypeName& type) const noexcept;
    /// The first type of a class: one of the library's own in the namespace of the release, unless it came later, else
    /// the one that was added first. Allocates nothing.
    /// @return valid until the map changes
    std::optional<TypeName> FindType(const kv::IdBits& classId, SchemaRelease release = newestRelease) const noexcept;

    /// How many types there are; each of the library's own counts once.
    std::size_t Count() const noexcept { return OwnTypes().size() + added_.size(); }
    struct Entry {
        TypeName type;
        kv::IdBits classId;
    };
    /// A type by its index, one of the library's own in the namespace of the newest release; valid until the map
    /// changes.
    Entry At(std::size_t index) const noexcept;

 private:
    struct AddedType {
        AddedType(const TypeName& type, const kv::IdBits& id, std::uint64_t place)
            : name(type.name), uri(type.uri), classId(id), number(place) {}

        std::u16string name, uri;
        kv::IdBits classId;
        std::uint64_t number;  ///< grows with each that is added

        TypeName Type() const noexcept { return {name, uri}; }
    };
    struct HashType {
        using is_transparent = void;
        std::size_t operator()(const TypeName& type) const noexcept;
        std::size_t operator()(const AddedType* added) const noexcept { return (*this)(added->Type()); }
    };
    struct SameType {
        using is_transparent = void;
        static TypeName Of(const TypeName& type) noexcept { return type; }
        static TypeName Of(const AddedType* added) noexcept { return added->Type(); }
        bool operator()(const auto& left, const auto& right) const noexcept { return Of(left) == Of(right); }
    };
    struct HashClass {
        std::size_t operator()(const kv::IdBits& id) const noexcept;
    };

    void ForgetFirst(const AddedType& removed) noexcept;

    std::vector<std::unique_ptr<AddedType>> added_;  ///< in the order of their numbers
    std::unordered_set<const AddedType*, HashType, SameType> byType_;
    std::unordered_map<kv::IdBits, const AddedType*, HashClass> firstOfClass_;
    std::uint64_t nextNumber_ = 0;
};

}  // namespace xml
