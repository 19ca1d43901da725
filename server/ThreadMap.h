#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <utility>
#include <vector>

namespace mova {

/// A hash map from thread identifier to a small copyable value. Identifiers are handed out in small steps, so their
/// lowest four bits are left out of the bucket's number; chains are kept in ascending order of what remains.
template <class Value>
class ThreadMap {
 public:
    /// The thread's value; null where it has none.
    Value* Find(std::uint32_t thread) noexcept {
        if (buckets_.empty()) return nullptr;
        auto& chain = ChainOf(thread);
        const auto found = Position(chain, thread);
        return found == chain.end() ? nullptr : &found->value;
    }

    /// Adds the value of a thread that has none yet. @throw std::bad_alloc, the map being unchanged.
    void Insert(std::uint32_t thread, Value value) {
        if (count_ >= buckets_.size() * mostPerBucket) Grow();
        auto& chain = ChainOf(thread);
        chain.insert(std::upper_bound(chain.begin(), chain.end(), Shifted(thread), Before), {thread, std::move(value)});
        ++count_;
    }

    /// Removes the thread's value and hands it out; an empty value where there is none.
    Value Remove(std::uint32_t thread) noexcept {
        if (buckets_.empty()) return Value();
        auto& chain = ChainOf(thread);
        const auto found = Position(chain, thread);
        if (found == chain.end()) return Value();
        Value removed = std::move(found->value);
        chain.erase(found);
        if (chain.empty()) chain = Chain();  // threads that come and go leave no memory behind
        --count_;
        return removed;
    }

 private:
    struct Item {
        std::uint32_t thread;
        Value value;
    };
    using Chain = std::vector<Item>;

    static constexpr std::size_t firstBuckets = 17;
    static constexpr std::size_t mostPerBucket = 2;

    static constexpr std::uint32_t Shifted(std::uint32_t thread) noexcept { return thread >> 4; }
    static constexpr bool Before(std::uint32_t shifted, const Item& item) noexcept {
        return shifted < Shifted(item.thread);
    }

    Chain& ChainOf(std::uint32_t thread) noexcept { return buckets_[Shifted(thread) % buckets_.size()]; }

    static typename Chain::iterator Position(Chain& chain, std::uint32_t thread) noexcept {
        return std::find_if(chain.begin(), chain.end(), [=](const Item& item) { return item.thread == thread; });
    }

    void Grow() {
        ThreadMap larger;
        larger.buckets_.resize(std::max(firstBuckets, buckets_.size() * 2 + 1));
        for (const auto& chain : buckets_)
            for (const auto& item : chain) larger.Insert(item.thread, item.value);
        *this = std::move(larger);
    }

    std::vector<Chain> buckets_;  ///< none before the first value, so that a map costs nothing until then
    std::size_t count_ = 0;
};

}  // namespace mova
