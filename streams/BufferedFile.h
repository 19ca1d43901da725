#pragma once

#include <memory>

#include "streams/File.h"

namespace mova {

/// The content of a stream with a buffer: one piece of the file in memory, which small reads and writes go to. What
/// was written and has not reached the file is one piece of the buffer.
class BufferedFile {
 public:
    /// @throw std::bad_alloc
    explicit BufferedFile(ULONG capacity)
        : buffer_(std::make_unique_for_overwrite<std::byte[]>(capacity)), capacity_(capacity) {}
    ~BufferedFile() { static_cast<void>(WriteOut()); }  // nobody is left who could be told
    BufferedFile(const BufferedFile&) = delete;
    BufferedFile& operator=(const BufferedFile&) = delete;

    FileOutcome Open(std::u16string_view path, movaFileMode mode) {
        return file_.Open(path, mode, FileSharing::OneWriter);
    }
    const File& OpenFile() const noexcept { return file_; }
    FileOutcome ReadAt(std::uint64_t position, void* target, ULONG size, ULONG& read) noexcept;
    FileOutcome WriteAt(std::uint64_t position, const void* source, ULONG size, ULONG& written) noexcept;
    FileOutcome GetSize(std::uint64_t& size) const noexcept;
    FileOutcome Resize(std::uint64_t size) noexcept;
    FileOutcome WriteOut() noexcept;
    FileOutcome Commit() noexcept;

    ULONG Capacity() const noexcept { return capacity_; }
    /// Takes a buffer of another size; what is in the present one is written first. @throw std::bad_alloc
    FileOutcome SetCapacity(ULONG capacity);

 private:
    bool IsDirty() const noexcept { return dirtyEnd_ != 0; }
    /// Fills the buffer with what is around a position. The buffer then begins at it or before.
    FileOutcome Fill(std::uint64_t position) noexcept;
    /// Lets go of what the buffer holds, to begin elsewhere.
    void Begin(std::uint64_t position) noexcept { start_ = position, length_ = dirtyBegin_ = dirtyEnd_ = 0; }

    File file_;
    std::unique_ptr<std::byte[]> buffer_;
    ULONG capacity_;
    std::uint64_t start_ = 0;  ///< the position in the file that the buffer begins at
    ULONG length_ = 0;         ///< how many bytes it holds
    ULONG dirtyBegin_ = 0;     ///< the piece that the file has not
    ULONG dirtyEnd_ = 0;       ///< 0 where there is none
};

}  // namespace mova
