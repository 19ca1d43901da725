#pragma once

#include <bit>
#include <cstddef>
#include <cstdint>
#include <vector>

namespace json {

/// Leads from the hash of a name to the places of the members that have it.
class NameIndex {
 public:
    bool IsBuilt() const noexcept { return !slots_.empty(); }
    void Forget() noexcept { std::vector<Slot>().swap(slots_); }

    /// Adds the members from 0 on to an index for that many. @throw std::bad_alloc, the index then being as it was
    template <class HashAt>
    void Build(std::uint32_t count, HashAt hashAt) {
        std::vector<Slot> built(std::bit_ceil(std::size_t{count} * 2 + 2));
        slots_.swap(built);
        for (std::uint32_t place = 0; place < count; ++place) Put(hashAt(place), place);
    }
    /// Whether one more member fits in.
    bool HasRoom(std::uint32_t count) const noexcept { return slots_.size() > std::size_t{count} * 2; }
    void Put(std::uint32_t hash, std::uint32_t place) noexcept {
        std::size_t at = hash & Mask();
        while (slots_[at].next) at = (at + 1) & Mask();
        slots_[at] = {hash, place + 1};
    }

    /// The first place, in the order of the members, of those with that hash for which matches(place) is true.
    /// @return none where there is no such place
    template <class Matches>
    std::uint32_t First(std::uint32_t hash, std::uint32_t none, Matches matches) const noexcept {
        std::uint32_t first = none;
        for (std::size_t at = hash & Mask(); slots_[at].next; at = (at + 1) & Mask()) {
            const std::uint32_t place = slots_[at].next - 1;
            if (slots_[at].hash == hash && place < first && matches(place)) first = place;
        }
        return first;
    }

    /// Takes a member out; those behind it move up by one.
    void Remove(std::uint32_t hash, std::uint32_t place) noexcept {
        std::size_t gap = hash & Mask();
        while (slots_[gap].next != place + 1) gap = (gap + 1) & Mask();
        for (std::size_t at = (gap + 1) & Mask(); slots_[at].next; at = (at + 1) & Mask()) {
            // A slot may move into the gap unless that lies before where its search begins.
            if (((at - slots_[at].hash) & Mask()) >= ((at - gap) & Mask())) {
                slots_[gap] = slots_[at];
                gap = at;
            }
        }
        slots_[gap] = {};
        for (Slot& slot : slots_) slot.next -= slot.next > place + 1 ? 1 : 0;
    }

 private:
    struct Slot {
        std::uint32_t hash = 0;
        std::uint32_t next = 0;  ///< the number behind the place; 0 for a free slot
    };
    std::size_t Mask() const noexcept { return slots_.size() - 1; }

    std::vector<Slot> slots_;  ///< at least half of them free
};

}  // namespace json
