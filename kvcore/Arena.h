#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <utility>

namespace kv {

/// The memory of one loaded document: what is taken from it is freed all at once, when the last of those who share it
/// lets go of it.
class Arena {
 public:
    /// An empty one, with one reference. @throw std::bad_alloc
    static Arena* Make();

    void AddReference() noexcept { references_.fetch_add(1, std::memory_order_relaxed); }
    void ReleaseReference() noexcept;

    /// While one is pinned, nothing that was laid down in it changes: it is being read by someone who calls out.
    void Pin() noexcept { pins_.fetch_add(1, std::memory_order_relaxed); }
    void Unpin() noexcept { pins_.fetch_sub(1, std::memory_order_relaxed); }
    bool IsPinned() const noexcept { return pins_.load(std::memory_order_relaxed) != 0; }

    /// Memory aligned for every value. @throw std::bad_alloc
    void* Take(std::size_t size) {
        const std::size_t rounded = Rounded(size);
        if (rounded > static_cast<std::size_t>(end_ - next_) || rounded < size) return TakeFromNewBlock(size);
        return std::exchange(next_, next_ + rounded);
    }
    /// Gives back the end of the piece that was taken last, of a kilobyte at most: larger ones may lie alone.
    /// @param size what is kept of it
    void Shorten(void* piece, std::size_t size) noexcept { next_ = static_cast<std::byte*>(piece) + Rounded(size); }

 private:
    struct Block {
        Block* previous;
        std::size_t size;
    };
    static constexpr std::size_t alignment = 8;

    static constexpr std::size_t Rounded(std::size_t size) noexcept {
        return (size + alignment - 1) & ~(alignment - 1);
    }

    Arena() noexcept = default;
    ~Arena() = default;
    void* TakeFromNewBlock(std::size_t size);

    std::atomic<std::uint32_t> references_{1};
    std::atomic<std::uint32_t> pins_{0};
    std::byte* next_ = nullptr;
    std::byte* end_ = nullptr;
    Block* block_ = nullptr;  ///< the one that is being filled, which leads to the earlier ones
    Block* own_ = nullptr;    ///< those of single pieces too large for any other
};

/// Holds one reference to an arena.
class ArenaPtr {
 public:
    ArenaPtr() noexcept = default;
    explicit ArenaPtr(Arena* arena) noexcept : arena_(arena) {
        if (arena_) arena_->AddReference();
    }
    ArenaPtr(const ArenaPtr& other) noexcept : ArenaPtr(other.arena_) {}
    ArenaPtr(ArenaPtr&& other) noexcept : arena_(std::exchange(other.arena_, nullptr)) {}
    ArenaPtr& operator=(ArenaPtr other) noexcept {
        std::swap(arena_, other.arena_);
        return *this;
    }
    ~ArenaPtr() {
        if (arena_) arena_->ReleaseReference();
    }
    /// Takes over the reference that the caller owns.
    static ArenaPtr Attach(Arena* arena) noexcept {
        ArenaPtr held;
        held.arena_ = arena;
        return held;
    }

    Arena* Get() const noexcept { return arena_; }
    Arena* operator->() const noexcept { return arena_; }
    explicit operator bool() const noexcept { return arena_ != nullptr; }

 private:
    Arena* arena_ = nullptr;
};

/// Keeps an arena, and pins it. Holds none at first.
class PinnedArena {
 public:
    PinnedArena() noexcept = default;
    explicit PinnedArena(ArenaPtr arena) noexcept : arena_(std::move(arena)) {
        if (arena_) arena_->Pin();
    }
    PinnedArena(PinnedArena&& other) noexcept = default;
    PinnedArena& operator=(PinnedArena&& other) noexcept {
        std::swap(arena_, other.arena_);
        return *this;
    }
    ~PinnedArena() {
        if (arena_) arena_->Unpin();
    }

    const ArenaPtr& Get() const noexcept { return arena_; }

 private:
    ArenaPtr arena_;
};

}  // namespace kv
