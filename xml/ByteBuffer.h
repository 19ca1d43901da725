#pragma once

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <memory>
#include <string_view>

namespace xml {

/// Bytes that are put together before they go out. Whoever appends asks for room, writes there, and says how far.
class ByteBuffer {
 public:
    /// Where so many bytes may be written. @throw std::bad_alloc, nothing being changed
    char* Room(std::size_t more) {
        if (more > capacity_ - size_) [[unlikely]]
            Grow(more);
        return bytes_.get() + size_;
    }
    /// Appends what was written to the room, up to there.
    void AppendUpTo(const char* end) noexcept { size_ = static_cast<std::size_t>(end - bytes_.get()); }
    /// @throw std::bad_alloc
    void Append(std::string_view text) {
        char* const room = Room(text.size());
        std::memcpy(room, text.data(), text.size());
        size_ += text.size();
    }

    std::string_view View() const noexcept { return {bytes_.get(), size_}; }
    std::size_t Size() const noexcept { return size_; }
    void CutTo(std::size_t size) noexcept { size_ = size; }
    /// Drops the bytes, and their memory where it is much.
    void Clear() noexcept {
        size_ = 0;
        if (capacity_ <= mostKept) return;
        bytes_.reset();
        capacity_ = 0;
    }

 private:
    static constexpr std::size_t least = 5120;
    static constexpr std::size_t mostKept = std::size_t{1} << 16;

    void Grow(std::size_t more) {
        const std::size_t larger = std::max({least, capacity_ * 2, size_ + more});
        auto grown = std::make_unique_for_overwrite<char[]>(larger);
        if (size_ != 0) std::memcpy(grown.get(), bytes_.get(), size_);
        bytes_ = std::move(grown);
        capacity_ = larger;
    }

    std::unique_ptr<char[]> bytes_;
    std::size_t size_ = 0;
    std::size_t capacity_ = 0;
};

}  // namespace xml
