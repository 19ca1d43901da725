#pragma once

#include <cstddef>
#include <utility>

namespace mova {

/// Memory in one piece that grows. While it is small it comes from recycled blocks; a large one is committed step by
/// step in address space that is reserved far beyond it, so that growing copies nothing and touches no page twice.
class GrowingMemory {
 public:
    GrowingMemory() noexcept = default;
    GrowingMemory(GrowingMemory&& other) noexcept
        : begin_(std::exchange(other.begin_, nullptr)),
          capacity_(std::exchange(other.capacity_, 0)),
          reserved_(std::exchange(other.reserved_, 0)) {}
    GrowingMemory& operator=(GrowingMemory&& other) noexcept {
        std::swap(begin_, other.begin_);
        std::swap(capacity_, other.capacity_);
        std::swap(reserved_, other.reserved_);
        return *this;
    }
    ~GrowingMemory();

    std::byte* Begin() const noexcept { return begin_; }
    std::size_t Capacity() const noexcept { return capacity_; }

    /// Makes room for more than there is. @param needed bytes, more than the capacity.
    /// @param used so many at the front are kept.
    /// @param former receives the memory that was left, where the bytes had to move: it is still readable.
    /// @return false where there is no memory, nothing being changed
    bool Grow(std::size_t needed, std::size_t used, GrowingMemory& former) noexcept;

 private:
    bool Commit(std::size_t needed) noexcept;
    static GrowingMemory Reserve(std::size_t needed) noexcept;

    std::byte* begin_ = nullptr;
    std::size_t capacity_ = 0;
    std::size_t reserved_ = 0;  ///< bytes of address space; 0 while it is a recycled block
};

}  // namespace mova
