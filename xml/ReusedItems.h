#pragma once

#include <algorithm>
#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

#include "kvcore/MoveBytes.h"

namespace xml {

/// A growing array whose removed items keep their memory for those that come: texts are filled in again and again.
template <class Item>
class ReusedItems {
 public:
    /// The item behind the last, with whatever it held; it becomes the last by Keep. @throw std::bad_alloc
    Item& Next() {
        if (count_ == items_.size()) items_.emplace_back();
        return items_[count_];
    }
    void Keep() noexcept { ++count_; }
    void Remove(std::size_t index) noexcept {
        const auto removed = begin() + static_cast<std::ptrdiff_t>(index);
        std::rotate(removed, removed + 1, end());
        --count_;
    }
    void RemoveAll() noexcept { count_ = 0; }

    std::size_t Count() const noexcept { return count_; }
    Item& operator[](std::size_t index) noexcept { return items_[index]; }
    const Item& operator[](std::size_t index) const noexcept { return items_[index]; }
    auto begin() noexcept { return items_.begin(); }
    auto end() noexcept { return items_.begin() + static_cast<std::ptrdiff_t>(count_); }
    auto begin() const noexcept { return items_.begin(); }
    auto end() const noexcept { return items_.begin() + static_cast<std::ptrdiff_t>(count_); }

 private:
    std::vector<Item> items_;
    std::size_t count_ = 0;
};

/// Gives a text that is filled in again and again its next units, which often are as many as those before.
inline void Refill(std::u16string& text, std::u16string_view units) {
    if (text.size() == units.size()) {
        kv::MoveBytes(text.data(), units.data(), units.size() * sizeof(char16_t));
    } else {
        text = units;
    }
}

}  // namespace xml
