// Finds what belongs to an address.
#pragma once

#include <bit>
#include <cstdint>
#include <vector>

namespace mova {

/// A map from addresses to positions, open addressing in one piece of memory: the identity map of a saved graph, which
/// only ever grows.
class PointerIndex {
 public:
    static constexpr std::uint32_t none = UINT32_MAX;

    std::uint32_t Find(const void* address) const noexcept {
        if (slots_.empty()) return none;
        for (std::size_t i = Home(address);; i = (i + 1) & Mask())
            if (slots_[i].address == address || !slots_[i].address) return slots_[i].position;
    }
    /// Adds an address that is not yet there, and not null. @throw std::bad_alloc, nothing being changed
    void Add(const void* address, std::uint32_t position) {
        if (2 * (count_ + 1) > slots_.size()) Grow();
        Put(slots_, {address, position});
        ++count_;
    }
    void Clear() noexcept {
        slots_ = {};
        count_ = 0;
    }

 private:
    struct Slot {
        const void* address = nullptr;
        std::uint32_t position = none;
    };

    std::size_t Mask() const noexcept { return slots_.size() - 1; }
    std::size_t Home(const void* address) const noexcept {
        // The golden ratio spreads what allocators align; the highest bits are the best mixed.
        const std::uint64_t mixed = reinterpret_cast<std::uintptr_t>(address) * 0x9E3779B97F4A7C15U;
        return static_cast<std::size_t>(mixed >> shift_);
    }
    void Put(std::vector<Slot>& slots, const Slot& slot) const noexcept {
        std::size_t i = Home(slot.address);
        while (slots[i].address) i = (i + 1) & (slots.size() - 1);
        slots[i] = slot;
    }
    void Grow() {
        std::vector<Slot> larger(slots_.empty() ? 32 : 2 * slots_.size());
        shift_ = 64 - std::countr_zero(larger.size());
        for (const Slot& slot : slots_)
            if (slot.address) Put(larger, slot);
        slots_.swap(larger);
    }

    std::vector<Slot> slots_;
    std::size_t count_ = 0;
    int shift_ = 64;
};

}  // namespace mova
