// Finds what belongs to a reference number.
#pragma once

#include <array>
#include <cstdint>
#include <map>
#include <vector>

namespace mova {

/// A map from numbers to values, an array as long as the numbers come about as dense as a writer hands them out; a
/// number from a broken stream takes no more memory than any other.
template <class Value, class Allocator = std::allocator<Value>>
class NumberTable {
 public:
    /// The value of a number; null where it has none.
    Value* Find(std::uint32_t number) noexcept {
        if (number < few_.size() && few_[number]) return &few_[number];
        if (number < dense_.size() && dense_[number]) return &dense_[number];
        if (sparse_.empty()) return nullptr;
        const auto found = sparse_.find(number);
        return found == sparse_.end() ? nullptr : &found->second;
    }
    /// Adds a number that is not yet there. @throw std::bad_alloc, nothing being changed
    void Add(std::uint32_t number, Value value) {
        if (number < few_.size()) {
            few_[number] = std::move(value);
        } else if (number < dense_.size()) {
            dense_[number] = std::move(value);
        } else if (number <= dense_.size() + reach) {
            if (dense_.empty()) dense_.reserve(2 * reach);
            dense_.resize(number);
            dense_.push_back(std::move(value));
        } else {
            sparse_.emplace(number, std::move(value));
        }
    }
    void Clear() noexcept {
        std::array<Value, 2> few{};  // whoever ends with its last reference may come back
        std::vector<Value, Allocator> dense;
        std::map<std::uint32_t, Value> sparse;
        few_.swap(few);
        dense_.swap(dense);
        sparse_.swap(sparse);
    }

 private:
    static constexpr std::size_t reach = 8;  ///< as many numbers may be missing before the next

    std::array<Value, 2> few_{};  ///< most streams hold one object, with the number 1
    std::vector<Value, Allocator> dense_;
    std::map<std::uint32_t, Value> sparse_;  // not hashed: numbers come from outside and could all collide
};

}  // namespace mova
