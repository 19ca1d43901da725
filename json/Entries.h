// The entries of one object or array, side by side in one block of memory: all payloads, all names, all tags.
#pragma once

#include <algorithm>
#include <cstddef>

#include "json/Value.h"

namespace json {

/// A member's name and its hash, which is equal for names that differ in case only.
struct Name {
    std::uint32_t hash;
    std::uint32_t length;

    const char16_t* Units() const noexcept { return reinterpret_cast<const char16_t*>(this + 1); }
    std::u16string_view View() const noexcept { return {Units(), length}; }
    static constexpr std::size_t Size(std::size_t length) noexcept { return sizeof(Name) + length * sizeof(char16_t); }
    /// Writes a name into memory of that size.
    static Name* Write(void* memory, std::u16string_view text, std::uint32_t hash) noexcept {
        auto* const name = ::new (memory) Name{hash, static_cast<std::uint32_t>(text.size())};
        std::copy(text.begin(), text.end(),
                  reinterpret_cast<char16_t*>(name + 1));  // an empty text may have no address
        return name;
    }
};

/// Where a name lies, and whether it belongs to the container alone.
class NameRef {
 public:
    NameRef() noexcept = default;
    NameRef(const Name* name, bool own) noexcept : bits_(reinterpret_cast<std::uintptr_t>(name) | (own ? 1 : 0)) {}

    const Name* Get() const noexcept {
        return reinterpret_cast<const Name*>(bits_ & ~std::uintptr_t{1});  // NOLINT(performance-no-int-to-ptr): its own
    }
    bool IsOwn() const noexcept { return (bits_ & 1) != 0; }

 private:
    std::uintptr_t bits_ = 0;
};

/// The head of such a block. An array's has no names.
struct Entries {
    std::uint32_t count;
    std::uint32_t capacity;

    static constexpr std::size_t Size(std::size_t capacity, bool named) noexcept {
        return sizeof(Entries) + capacity * (sizeof(Payload) + (named ? sizeof(NameRef) : 0) + sizeof(Tag));
    }

    Payload* Payloads() noexcept { return reinterpret_cast<Payload*>(this + 1); }
    NameRef* Names() noexcept { return reinterpret_cast<NameRef*>(Payloads() + capacity); }
    Tag* Tags(bool named) noexcept {
        return named ? reinterpret_cast<Tag*>(Names() + capacity) : reinterpret_cast<Tag*>(Payloads() + capacity);
    }
    const Payload* Payloads() const noexcept { return const_cast<Entries*>(this)->Payloads(); }
    const NameRef* Names() const noexcept { return const_cast<Entries*>(this)->Names(); }
    const Tag* Tags(bool named) const noexcept { return const_cast<Entries*>(this)->Tags(named); }

    Value At(std::size_t i, bool named) const noexcept { return {Payloads()[i], Tags(named)[i]}; }
    std::u16string_view NameAt(std::size_t i) const noexcept { return Names()[i].Get()->View(); }
};

}  // namespace json
