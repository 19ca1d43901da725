// Finds what belongs to an address.
#pragma once

#include <bit>
#include <cstddef>
#include <cstdint>
#include <utility>
#include <vector>

namespace mova {

/// A map from addresses to small values whose memory only ever grows: open addressing in one piece of it. Addresses
/// that are near each other have their places near each other, since objects are mostly met in the order in which they
/// were allocated, and a large table is otherwise a cache miss for each.
template <class Value>
class PointerMap {
 public:
    /// The value of an address; null where it has none.
    const Value* Find(const void* address) const noexcept {
        if (places_.empty()) return nullptr;
        for (std::size_t i = Home(address);; i = (i + 1) & Mask()) {
            if (places_[i].address == address) return &places_[i].value;
            if (!places_[i].address) return nullptr;
        }
    }
    /// Adds an address that is not yet there, and not null. @throw std::bad_alloc, nothing being changed
    void Add(const void* address, const Value& value) {
        if (5 * (count_ + 1) > 4 * places_.size()) Grow();  // fuller than that, every search would take long
        Put({address, value});
        ++count_;
    }
    /// Removes an address that is there.
    void Remove(const void* address) noexcept {
        std::size_t gap = Home(address);
        while (places_[gap].address != address) gap = (gap + 1) & Mask();
        // What stands behind the gap and was to be nearer to its home closes it, and leaves one itself.
        for (std::size_t i = gap; places_[i = (i + 1) & Mask()].address;) {
            const std::size_t way = (i - Home(places_[i].address)) & Mask();
            if (way >= ((i - gap) & Mask())) places_[std::exchange(gap, i)] = places_[i];
        }
        places_[gap].address = nullptr;
        --count_;
    }
    void Clear() noexcept {
        std::vector<Place>().swap(places_);
        count_ = 0;
    }

 private:
    struct Place {
        const void* address;
        Value value;
    };

    static constexpr std::size_t firstPlaces = 32;
    static constexpr int unitBits = 5;     // no two objects are nearer to each other than this, or hardly
    static constexpr int regionBits = 11;  // so much of memory is mapped in its order; regions are mixed well

    std::size_t Mask() const noexcept { return places_.size() - 1; }
    std::size_t Home(const void* address) const noexcept {
        const auto bits = static_cast<std::uint64_t>(reinterpret_cast<std::uintptr_t>(address));
        const std::uint64_t region = (bits >> regionBits) * 0x9E3779B97F4A7C15U;  // the golden ratio
        return static_cast<std::size_t>((region >> shift_) + (bits >> unitBits)) & Mask();
    }
    void Put(const Place& place) noexcept {
        std::size_t i = Home(place.address);
        while (places_[i].address) i = (i + 1) & Mask();
        places_[i] = place;
    }
    void Grow() {
        std::vector<Place> former(places_.empty() ? firstPlaces : 2 * places_.size());
        places_.swap(former);
        shift_ = 64 - std::countr_zero(places_.size());
        for (const Place& place : former)
            if (place.address) Put(place);
    }

    std::vector<Place> places_;
    std::size_t count_ = 0;
    int shift_ = 64;
};

}  // namespace mova
