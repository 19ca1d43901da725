// Bytes that are only ever appended, in recycled pages: nothing moves when they grow.
#pragma once

#include <cstddef>
#include <string_view>
#include <utility>

namespace json {

/// UTF-8 that is put together piece by piece. Whoever appends asks for room, writes there, and says how far.
class ByteChain {
    struct Block;

 public:
    /// The most that can be asked for at once.
    static constexpr std::size_t mostRoom = 1024;

    ByteChain() noexcept = default;
    ByteChain(ByteChain&& other) noexcept { *this = std::move(other); }
    ByteChain& operator=(ByteChain&& other) noexcept {
        std::swap(first_, other.first_);
        std::swap(last_, other.last_);
        std::swap(next_, other.next_);
        std::swap(end_, other.end_);
        std::swap(before_, other.before_);
        return *this;
    }
    ~ByteChain();

    /// Where so many bytes may be written, in one piece. @throw std::bad_alloc, nothing being changed
    char* Room(std::size_t size) {
        if (static_cast<std::size_t>(end_ - next_) < size) [[unlikely]]
            BeginBlock();
        return next_;
    }
    /// Appends what was written to the room, up to there. A character is not to be parted.
    void Append(char* end) noexcept { next_ = end; }
    /// @throw std::bad_alloc
    void Append(char byte) {
        *Room(1) = byte;
        ++next_;
    }

    /// Between two bytes, for cutting back to.
    struct Position {
        Block* block;
        char* next;
        std::size_t before;
    };
    Position End() const noexcept { return {last_, next_, before_}; }
    /// Drops what was appended since then.
    void CutBack(const Position& position) noexcept;
    /// Drops all bytes and keeps the memory.
    void Clear() noexcept { CutBack({}); }

    std::size_t Size() const noexcept;
    bool IsEmpty() const noexcept { return Size() == 0; }

    /// Hands out the bytes block by block, no character being parted.
    /// @param take bool(std::string_view), called until it answers false. @return whether it never did
    template <class Take>
    bool ForEachBlock(Take take) const;

    /// Writes all bytes. @param out has room for Size()
    void CopyTo(char* out) const noexcept;
    std::size_t Utf16Length() const noexcept;
    /// Writes the text as UTF-16. @param out has room for Utf16Length()
    void CopyTo(char16_t* out) const noexcept;

 private:
    struct Block {
        Block* next;
        char* end;  ///< of what was written, once another block is begun

        char* Begin() noexcept { return reinterpret_cast<char*>(this + 1); }
    };

    void BeginBlock();

    Block* first_ = nullptr;
    Block* last_ = nullptr;  ///< null, although there may be a first one, while nothing is written
    char* next_ = nullptr;
    char* end_ = nullptr;
    std::size_t before_ = 0;  ///< bytes in the blocks before the last
};

template <class Take>
bool ByteChain::ForEachBlock(Take take) const {
    if (!last_) return true;
    for (Block* block = first_;; block = block->next) {
        const char* const end = block == last_ ? next_ : block->end;
        if (end != block->Begin() && !take(std::string_view(block->Begin(), end))) return false;
        if (block == last_) return true;
    }
}

}  // namespace json
