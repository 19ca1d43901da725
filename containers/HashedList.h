#pragma once

#include <algorithm>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <iterator>
#include <memory>
#include <new>
#include <type_traits>
#include <utility>
#include <vector>

namespace mova {

/// What an element of a HashedList carries for the list, as a member named `link`.
template <class Element>
struct HashLink {
    Element* next = nullptr;  ///< in the chain of the element's bucket
    std::uint32_t hash = 0;   ///< the element's own, set before it is appended
    std::uint32_t position = 0;
};

/// An ordered list whose elements are found by their 32-bit hashes: in a short list by scanning, in a longer one
/// through chains that lead straight to the elements. Which of the two it is cannot be told from the answers. Several
/// elements may have one hash, and several may match.
/// @tparam Owner holds an element as std::unique_ptr does; elements stay where they are.
/// @tparam Allocator where the list's own memory comes from.
template <class Owner, template <class> class Allocator = std::allocator>
class HashedList {
 public:
    using Element = std::remove_reference_t<decltype(*std::declval<Owner>())>;

    std::size_t Count() const noexcept { return elements_.size(); }
    Element& operator[](std::size_t position) const noexcept { return *elements_[position]; }

    /// Makes room, so that so many more can be appended without failing. @throw std::bad_alloc, nothing being changed
    void ReserveMore(std::size_t more) {
        const std::size_t count = elements_.size() + more;
        if (count > elements_.capacity())
            elements_.reserve(std::max({count, elements_.capacity() + elements_.capacity() / 2, longestScanned}));
        if (count > longestScanned && count * bucketsPerElement > heads_.size())
            LinkInto(std::bit_ceil(count * bucketsPerElement));
    }

    /// Adds an element at the end. @throw std::bad_alloc, nothing being changed
    void Append(Owner element) {
        ReserveMore(1);
        element->link.position = static_cast<std::uint32_t>(elements_.size());
        elements_.push_back(std::move(element));
        if (!heads_.empty()) PushToChain(*elements_.back());
    }

    /// The first or last of the elements with the hash for which matches(element) is true; null where there is none.
    template <class Matches>
    Element* FindFirst(std::uint32_t hash, Matches matches) const {
        return Find(hash, matches, [](std::uint32_t candidate, std::uint32_t best) { return candidate < best; });
    }
    template <class Matches>
    Element* FindLast(std::uint32_t hash, Matches matches) const {
        return Find(hash, matches, [](std::uint32_t candidate, std::uint32_t best) { return candidate > best; });
    }

    /// Removes an element of the list and hands it out; the last element moves into its place.
    Owner Remove(Element& element) noexcept {
        if (!heads_.empty()) *LinkTo(element) = element.link.next;
        const std::uint32_t position = element.link.position;
        Owner removed = std::exchange(elements_[position], std::move(elements_.back()));
        elements_.pop_back();
        if (position != elements_.size()) elements_[position]->link.position = position;
        if (elements_.capacity() > elements_.size() + slackKept &&
            elements_.capacity() > elements_.size() + elements_.size() / 2)
            Shrink();
        return removed;
    }

    /// Forgets all elements and gives the memory back; they are destroyed once the list is empty.
    void Clear() noexcept { HashedList().Swap(*this); }

    void Swap(HashedList& other) noexcept {
        elements_.swap(other.elements_);
        heads_.swap(other.heads_);
    }

 private:
    using Elements = std::vector<Owner, Allocator<Owner>>;
    using Heads = std::vector<Element*, Allocator<Element*>>;

    static constexpr std::size_t longestScanned = 8;
    static constexpr std::size_t bucketsPerElement = 2;  // at least: a chain's second element is a trip to memory
    static constexpr std::size_t slackKept = 128;

    template <class Matches, class IsBetter>
    Element* Find(std::uint32_t hash, Matches matches, IsBetter isBetter) const {
        Element* best = nullptr;
        const auto consider = [&](Element& element) {
            if (element.link.hash == hash && (!best || isBetter(element.link.position, best->link.position)) &&
                matches(element))
                best = &element;
        };
        if (heads_.empty()) {
            for (const Owner& element : elements_) consider(*element);
        } else {
            for (Element* element = heads_[BucketOf(hash)]; element; element = element->link.next) consider(*element);
        }
        return best;
    }

    std::size_t BucketOf(std::uint32_t hash) const noexcept { return hash & (heads_.size() - 1); }

    void PushToChain(Element& element) noexcept {
        element.link.next = std::exchange(heads_[BucketOf(element.link.hash)], &element);
    }

    /// The link that leads to an element.
    Element** LinkTo(const Element& element) noexcept {
        Element** link = &heads_[BucketOf(element.link.hash)];
        while (*link != &element) link = &(*link)->link.next;
        return link;
    }

    /// Gives back most of the room that is not used; some is left, so that adding and removing in turn stays cheap.
    /// Where there is no memory for the move, the room stays.
    void Shrink() noexcept try {
        Elements fewer;
        fewer.reserve(elements_.size() + std::min(slackKept, elements_.size() / 4));
        std::move(elements_.begin(), elements_.end(), std::back_inserter(fewer));
        elements_.swap(fewer);
        const std::size_t buckets = std::bit_ceil(elements_.size() * bucketsPerElement + 1);
        if (heads_.size() > buckets * 2) LinkInto(buckets);
    } catch (const std::bad_alloc&) {
        return;
    }

    void LinkInto(std::size_t buckets) {
        Heads(buckets).swap(heads_);
        for (const Owner& element : elements_) PushToChain(*element);
    }

    Elements elements_;
    Heads heads_;  ///< the first element of each bucket's chain; empty in a list that is scanned
};

}  // namespace mova
