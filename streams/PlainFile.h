#pragma once

#include "streams/File.h"

namespace mova {

/// The content of a stream of which each call goes to the system. @tparam flags FILE_FLAG_... that the file is opened
/// with
template <DWORD flags>
class PlainFile {
 public:
    FileOutcome Open(std::u16string_view path, movaFileMode mode) {
        return file_.Open(path, mode, FileSharing::OneWriter, flags);
    }
    const File& OpenFile() const noexcept { return file_; }
    FileOutcome ReadAt(std::uint64_t position, void* target, ULONG size, ULONG& read) noexcept {
        return file_.ReadAt(position, target, size, read);
    }
    FileOutcome WriteAt(std::uint64_t position, const void* source, ULONG size, ULONG& written) noexcept {
        return file_.WriteAt(position, source, size, written);
    }
    FileOutcome GetSize(std::uint64_t& size) const noexcept { return file_.GetSize(size); }
    FileOutcome Resize(std::uint64_t size) noexcept { return file_.Resize(size); }
    FileOutcome WriteOut() noexcept { return {}; }
    FileOutcome Commit() noexcept { return file_.Flush(); }

 private:
    File file_;
};

}  // namespace mova
