#pragma once

#include <movaSystem.h>

#include <string>

#include "streams/FileOutcome.h"

namespace mova {

/// The greatest position in a file, and so its greatest size.
inline constexpr std::uint64_t greatestFileSize = INT64_MAX;

/// Who may open a file beside somebody who has it open.
enum class FileSharing {
    OneWriter,    ///< readers, and one writer among them
    ReadersOnly,  ///< readers, or else one writer
};

/// An open file, read and written at positions, so that several who share it need not agree on one.
class File {
 public:
    File() noexcept = default;
    ~File() { Close(); }
    File(const File&) = delete;
    File& operator=(const File&) = delete;

    /// Opens a file where none is open. @param flags FILE_FLAG_... of the system. @throw std::bad_alloc
    FileOutcome Open(std::u16string_view path, movaFileMode mode, FileSharing sharing, DWORD flags = 0);

    bool IsWritable() const noexcept { return writable_; }
    /// @param read how many came, fewer at the end
    FileOutcome ReadAt(std::uint64_t position, void* target, ULONG size, ULONG& read) const noexcept;
    /// What is skipped behind the end is zero. @param written how many were written
    FileOutcome WriteAt(std::uint64_t position, const void* source, ULONG size, ULONG& written) noexcept;
    FileOutcome GetSize(std::uint64_t& size) const noexcept;
    FileOutcome Resize(std::uint64_t size) noexcept;
    /// Has the system bring to the disk what it holds back.
    FileOutcome Flush() noexcept;
    /// Tells the times and the mode that the system knows.
    void Describe(STATSTG& stat) const noexcept;

 private:
    void Close() noexcept;

    HANDLE handle_ = INVALID_HANDLE_VALUE;
    bool writable_ = false;
};

/// Whether a mode is one.
bool IsFileMode(movaFileMode mode) noexcept;

}  // namespace mova
