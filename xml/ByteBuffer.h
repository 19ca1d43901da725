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
    /// How much room there is without growing.
    std::size_t RoomLeft() const noexcept { return capacity_ - size_; }
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

/// Appends many small pieces to a buffer, which knows of them once this is finished: until then nobody else sees the
/// place to write to, which can stay in a register.
class Appender {
 public:
    /// @throw std::bad_alloc
    explicit Appender(ByteBuffer& buffer) : buffer_(buffer) { TakeRoom(0); }
    void Finish() noexcept { buffer_.AppendUpTo(at_); }

    /// Appends what is written to the room for so many bytes. @param put char*(char* room), which says how far
    /// @throw std::bad_alloc
    template <class Put>
    void Fill(std::size_t most, Put put) {
        if (most > static_cast<std::size_t>(limit_ - at_)) [[unlikely]] {
            Finish();
            TakeRoom(most);
        }
        at_ = put(at_);
    }
    /// @throw std::bad_alloc
    void Put(std::string_view text) {
        Fill(text.size(), [text](char* room) { return std::copy(text.begin(), text.end(), room); });
    }
    /// How much there is with what the buffer had before, and what of it comes after a place.
    std::size_t Size() const noexcept { return static_cast<std::size_t>(at_ - begin_); }
    std::string_view From(std::size_t place) const noexcept { return {begin_ + place, at_}; }

 private:
    void TakeRoom(std::size_t more) {
        at_ = buffer_.Room(more);
        begin_ = buffer_.View().data();
        limit_ = at_ + buffer_.RoomLeft();
    }

    ByteBuffer& buffer_;
    const char* begin_;
    char* at_;
    char* limit_;
};

}  // namespace xml
