#include "json/TextBuffer.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <cstdlib>
#include <cstring>
#include <new>
#include <span>

namespace json {
namespace {

#ifdef NDEBUG
constexpr bool recycles = true;
#else
constexpr bool recycles = false;
#endif

constexpr std::size_t smallestKept = 64 * 1024;  // smaller ones the heap recycles by itself
constexpr std::size_t largest = 32 * 1024 * 1024;
constexpr std::size_t ofAChunk = 2 * 1024 * 1024;  ///< what reading a stream takes is below this

/// What stands at the beginning of a block that is kept, which whoever takes it off its place may read.
struct Kept {
    std::size_t size;
};
/// Two places for reading streams, and one for a whole text.
constinit std::array<std::atomic<Kept*>, 3> kept{};

std::span<std::atomic<Kept*>> PlacesFor(std::size_t size) noexcept {
    const std::span places(kept);
    return size <= ofAChunk ? places.first(2) : places.last(1);
}

}  // namespace

void* TakeTextMemory(std::size_t& size) {
    if (recycles && size >= smallestKept && size <= largest) {
        for (auto& place : PlacesFor(size)) {
            if (!place.load(std::memory_order_relaxed)) continue;
            Kept* const block = place.exchange(nullptr, std::memory_order_acquire);
            if (block && block->size >= size) {
                size = block->size;
                return block;
            }
            std::free(block);
        }
    }
    void* const block = std::malloc(size);
    if (!block) throw std::bad_alloc();
    return block;
}

void GiveTextMemory(void* block, std::size_t size) noexcept {
    if (!recycles || size < smallestKept || size > largest) return std::free(block);
    auto* const given = static_cast<Kept*>(block);
    given->size = size;
    for (auto& place : PlacesFor(size)) {
        Kept* none = nullptr;
        if (place.compare_exchange_strong(none, given, std::memory_order_release, std::memory_order_relaxed)) return;
    }
    std::free(PlacesFor(size).front().exchange(given, std::memory_order_acq_rel));
}

void FreeTextMemory() noexcept {
    for (auto& place : kept) std::free(place.exchange(nullptr, std::memory_order_acquire));
}

void TextBuffer::KeepLast(std::size_t units) noexcept {
    if (!units_ || units == size_) return;
    std::memmove(units_, units_ + size_ - units, units * sizeof *units_);
    size_ = units;
    units_[size_] = u'\0';
}

void TextBuffer::Free() noexcept {
    if (units_) GiveTextMemory(units_, (capacity_ + 1) * sizeof *units_);
    units_ = nullptr;
    size_ = capacity_ = 0;
}

void TextBuffer::Grow(std::size_t units, std::size_t most) {
    constexpr std::size_t mostUnits = std::numeric_limits<std::size_t>::max() / (2 * sizeof *units_);
    if (units > mostUnits - size_) throw std::bad_alloc();
    const std::size_t needed = size_ + units;
    // A text that is longer already than was expected may become of any length.
    const std::size_t limit = needed > most ? std::numeric_limits<std::size_t>::max() : most;
    const std::size_t capacity = size_ == 0 ? needed : std::min(needed + needed / 2, limit);
    std::size_t bytes = (capacity + 1) * sizeof *units_;
    auto* const grown = static_cast<char16_t*>(TakeTextMemory(bytes));
    if (size_ != 0) std::memcpy(grown, units_, size_ * sizeof *units_);
    if (units_) GiveTextMemory(units_, (capacity_ + 1) * sizeof *units_);
    units_ = grown;
    capacity_ = bytes / sizeof *units_ - 1;
    units_[size_] = u'\0';
}

}  // namespace json
