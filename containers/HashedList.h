#pragma once

#include <algorithm>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <utility>
#include <vector>

namespace mova {

/// An ordered list whose items are found by a 32-bit hash: in a short list by scanning, in a longer one through chains of
/// equal buckets beside it. Which of the two it is cannot be told from the answers. Several items may have one hash, and
/// several may match.
template <class Item>
class HashedList {
 public:
    static constexpr std::size_t none = static_cast<std::size_t>(-1);

    std::size_t Count() const noexcept { return slots_.size(); }
    const Item& operator[](std::size_t position) const noexcept { return slots_[position].item; }

    /// Makes room, so that so many more can be appended without failing. @throw std::bad_alloc, nothing being changed
    void ReserveMore(std::size_t more) {
        const std::size_t count = slots_.size() + more;
        if (count > slots_.capacity()) slots_.reserve(std::max(count, slots_.capacity() * 2));
        if (count > longestScanned && count > heads_.size()) Link(std::bit_ceil(count));
    }

    /// Adds an item at the end. @throw std::bad_alloc, nothing being changed
    void Append(std::uint32_t hash, Item item) {
        ReserveMore(1);
        slots_.push_back({std::move(item), hash, endOfChain});
        if (!heads_.empty()) PushToChain(slots_.size() - 1);
    }

    /// The first or last position of the items with the hash for which matches(item) is true; none where there is none.
    template <class Matches>
    std::size_t FindFirst(std::uint32_t hash, Matches matches) const {
        std::size_t first = none;
        ForHash(hash, [&](std::size_t position) {
            if (position < first && matches(slots_[position].item)) first = position;
        });
        return first;
    }
    template <class Matches>
    std::size_t FindLast(std::uint32_t hash, Matches matches) const {
        std::size_t last = none;
        ForHash(hash, [&](std::size_t position) {
            if ((last == none || position > last) && matches(slots_[position].item)) last = position;
        });
        return last;
    }

    /// Removes the item at a position and hands it out; the last item moves into its place.
    Item RemoveAt(std::size_t position) noexcept {
        const std::size_t last = slots_.size() - 1;
        if (!heads_.empty()) {
            LinkTo(position) = slots_[position].next;
            if (position != last) LinkTo(last) = static_cast<std::uint32_t>(position);
        }
        Slot removed = std::move(slots_[position]);
        if (position != last) slots_[position] = std::move(slots_[last]);
        slots_.pop_back();
        if (slots_.capacity() > slots_.size() + slackKept && slots_.capacity() > slots_.size() + slots_.size() / 2)
            slots_.shrink_to_fit();
        return std::move(removed.item);
    }

    /// Forgets all items and gives the memory back; they are destroyed once the list is empty.
    void Clear() noexcept { HashedList().Swap(*this); }

    void Swap(HashedList& other) noexcept {
        slots_.swap(other.slots_);
        heads_.swap(other.heads_);
    }

 private:
    static constexpr std::uint32_t endOfChain = static_cast<std::uint32_t>(-1);
    static constexpr std::size_t longestScanned = 8;
    static constexpr std::size_t slackKept = 128;

    struct Slot {
        Item item;
        std::uint32_t hash;
        std::uint32_t next;  ///< in the chain of the slot's bucket; unused in a list that is scanned
    };

    template <class Visit>
    void ForHash(std::uint32_t hash, Visit visit) const {
        if (heads_.empty()) {
            for (std::size_t position = 0; position < slots_.size(); ++position)
                if (slots_[position].hash == hash) visit(position);
            return;
        }
        for (std::uint32_t position = heads_[hash & (heads_.size() - 1)]; position != endOfChain;
             position = slots_[position].next)
            if (slots_[position].hash == hash) visit(position);
    }

    std::uint32_t& HeadOf(std::uint32_t hash) noexcept { return heads_[hash & (heads_.size() - 1)]; }

    void PushToChain(std::size_t position) noexcept {
        slots_[position].next = std::exchange(HeadOf(slots_[position].hash), static_cast<std::uint32_t>(position));
    }

    /// The link that leads to a slot.
    std::uint32_t& LinkTo(std::size_t position) noexcept {
        std::uint32_t* link = &HeadOf(slots_[position].hash);
        while (*link != position) link = &slots_[*link].next;
        return *link;
    }

    void Link(std::size_t buckets) {
        std::vector<std::uint32_t>(buckets, endOfChain).swap(heads_);
        for (std::size_t position = 0; position < slots_.size(); ++position) PushToChain(position);
    }

    std::vector<Slot> slots_;
    std::vector<std::uint32_t> heads_;  ///< the first slot of each bucket's chain; empty in a list that is scanned
};

}  // namespace mova
