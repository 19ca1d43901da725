#pragma once

#include <bit>
#include <new>
#include <type_traits>
#include <vector>

#include "kvcore/Pages.h"

namespace kv {

/// A list that grows page by page: nothing in it moves, and a long one does not pay for fresh memory again and again.
template <class T>
class PagedList {
    static_assert(std::is_trivially_destructible_v<T>);

 public:
    PagedList() = default;
    PagedList(const PagedList&) = delete;
    PagedList& operator=(const PagedList&) = delete;
    ~PagedList() {
        for (void* const page : pages_) GivePage(page);
    }

    std::size_t Count() const noexcept { return count_; }
    T& operator[](std::size_t index) noexcept { return static_cast<T*>(pages_[index / perPage])[index % perPage]; }
    const T& operator[](std::size_t index) const noexcept {
        return static_cast<const T*>(pages_[index / perPage])[index % perPage];
    }

    /// Adds an element at the end. @throw std::bad_alloc
    T& Add() {
        if (count_ == pages_.size() * perPage) AddPage();
        return *::new (&(*this)[count_++]) T();
    }
    /// Drops the elements from so many on.
    void CutTo(std::size_t count) noexcept { count_ = count; }

 private:
    static constexpr std::size_t perPage = std::bit_floor(pageSize / sizeof(T));

    void AddPage() {
        if (pages_.size() == pages_.capacity()) pages_.reserve(2 * pages_.size() + 1);
        void* const page = TakePage();
        if (!page) throw std::bad_alloc();
        pages_.push_back(page);
    }

    std::vector<void*> pages_;
    std::size_t count_ = 0;
};

}  // namespace kv
