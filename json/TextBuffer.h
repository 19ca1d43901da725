#pragma once

#include <cstddef>
#include <limits>
#include <string_view>
#include <utility>

namespace json {

/// Text that grows at its end and goes at its front, always followed by a NUL. Large memory is recycled: fresh pages
/// cost more than reading the text does.
class TextBuffer {
 public:
    TextBuffer() noexcept = default;
    TextBuffer(const TextBuffer&) = delete;
    TextBuffer& operator=(const TextBuffer&) = delete;
    ~TextBuffer() { Free(); }

    char16_t* Begin() const noexcept { return units_; }
    std::size_t Size() const noexcept { return size_; }

    /// Room for so many units behind the text, which Add then makes part of it. What stands there means nothing.
    /// @param most as long as the text is expected to grow at most, which keeps a growing buffer from going further
    /// @throw std::bad_alloc, nothing being changed
    char16_t* Room(std::size_t units, std::size_t most = std::numeric_limits<std::size_t>::max()) {
        if (units > capacity_ - size_ || !units_) Grow(units, most);
        return units_ + size_;
    }
    void Add(std::size_t units) noexcept {
        size_ += units;
        units_[size_] = u'\0';
    }
    /// Removes all but the last so many units.
    void KeepLast(std::size_t units) noexcept;
    void Free() noexcept;

 private:
    void Grow(std::size_t units, std::size_t most);

    char16_t* units_ = nullptr;
    std::size_t size_ = 0;
    std::size_t capacity_ = 0;  ///< without the NUL
};

/// A block of memory of at least some size. Kept are a few that were given back last; none in debug builds, so that the
/// heap sees every use after free.
/// @param size receives how large it is. @throw std::bad_alloc
void* TakeTextMemory(std::size_t& size);
void GiveTextMemory(void* block, std::size_t size) noexcept;
/// Returns what is kept to the heap; for the module's unloading.
void FreeTextMemory() noexcept;

}  // namespace json
