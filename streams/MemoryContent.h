#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>

#include "kvcore/ByteWindow.h"
#include "streams/File.h"

namespace mova {

/// Bytes in memory in one piece, shared by a stream and its clones.
class MemoryBytes;

/// What a stream in memory is beneath its interfaces: bytes, and a position in them or behind their end. While nobody
/// shares the bytes, its state is a window, through which the library's readers and writers go past a stream's
/// operations.
class MemoryContent {
 public:
    MemoryContent() noexcept = default;
    ~MemoryContent();
    MemoryContent(const MemoryContent&) = delete;
    MemoryContent& operator=(const MemoryContent&) = delete;

    /// Reads from the position on. @return how many bytes came
    ULONG Read(void* target, ULONG size) noexcept {
        if (size > window_.Readable()) return ReadBeyond(target, size);
        window_.Get(target, size);
        return size;
    }
    ULONG ReadAt(std::uint64_t position, void* target, ULONG size) const noexcept;
    /// Writes at the position; what was skipped is zero. @return false where there is no memory
    bool Write(const void* source, std::size_t size) noexcept {
        // An empty stream's window has no address to move to.
        if (size == 0 || size > window_.Room()) return WriteBeyond(source, size);
        window_.Put(source, size);
        return true;
    }
    std::uint64_t Position() const noexcept;
    void MoveTo(std::uint64_t position) noexcept;

    /// All bytes, until they change.
    std::span<std::byte> Bytes() const noexcept;
    /// Takes a copy of bytes in place of its own; the position moves to the start.
    /// @return false where there is no memory, nothing being changed; so do those below
    bool Replace(std::span<const std::byte> bytes) noexcept;
    /// What is added is zero.
    bool Resize(std::uint64_t size) noexcept;
    /// Has another one share the bytes, at the same position.
    bool Share(MemoryContent& other) noexcept;

    /// Takes the bytes of a file in place of its own, unless that fails. @throw std::bad_alloc
    FileOutcome LoadFromFile(std::u16string_view path);
    FileOutcome SaveToFile(std::u16string_view path) const;

    kv::ByteWindow& Window() noexcept { return window_; }

 private:
    ULONG ReadBeyond(void* target, ULONG size) noexcept;
    bool WriteBeyond(const void* source, std::size_t size) noexcept;
    /// Lets its own bytes go and takes others, from their start.
    void Take(MemoryBytes* bytes) noexcept;
    /// Brings what the window says to the bytes, which are then the truth.
    void CloseWindow() noexcept;
    /// Opens the window where the bytes are this content's alone and the position is among them.
    void OpenWindow() noexcept;

    kv::ByteWindow window_;
    std::uint64_t position_ = 0;    ///< while the window is closed
    MemoryBytes* bytes_ = nullptr;  ///< made when the first byte is written
};

}  // namespace mova
