#pragma once

#include <cstdint>
#include <vector>

namespace json {

/// A stack of bits, of any height.
class BitStack {
 public:
    bool IsEmpty() const noexcept { return height_ == 0; }
    std::uint64_t Height() const noexcept { return height_; }
    /// The bit on top of a stack that is not empty.
    bool Top() const noexcept { return (top_ & 1) != 0; }

    /// @throw std::bad_alloc, the stack being as it was
    void Push(bool bit) {
        if (height_ % bitsOfTop == 0 && height_ != 0) [[unlikely]]
            Spill();
        top_ = top_ << 1 | static_cast<std::uint64_t>(bit);
        ++height_;
    }
    /// Takes the top off a stack that is not empty.
    void Pop() noexcept {
        --height_;
        top_ >>= 1;
        if (height_ % bitsOfTop == 0 && height_ != 0) [[unlikely]] {
            Refill();
        }
    }
    void Clear() noexcept {
        height_ = 0;
        beneath_.clear();
    }

 private:
    void Spill();
    void Refill() noexcept;

    static constexpr std::uint64_t bitsOfTop = 64;

    std::uint64_t top_ = 0;  ///< the uppermost bits, the top of the stack lowest
    std::uint64_t height_ = 0;
    std::vector<std::uint64_t> beneath_;
};

}  // namespace json
