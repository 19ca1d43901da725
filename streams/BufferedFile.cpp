#include "streams/BufferedFile.h"

#include <algorithm>
#include <cstring>

namespace mova {

FileOutcome BufferedFile::ReadAt(std::uint64_t position, void* target, ULONG size, ULONG& read) noexcept {
    read = 0;
    auto* const to = static_cast<std::byte*>(target);
    while (read < size) {
        const std::uint64_t at = position + read;
        const ULONG left = size - read;
        if (at >= start_ && at - start_ < length_) {
            const auto skipped = static_cast<ULONG>(at - start_);
            const ULONG piece = std::min(left, length_ - skipped);
            std::memcpy(to + read, buffer_.get() + skipped, piece);
            read += piece;
            continue;
        }
        if (left >= capacity_) {  // too much for the buffer: straight from the file
            if (const FileOutcome outcome = WriteOut(); outcome.Failed()) return outcome;
            ULONG came = 0;
            const FileOutcome outcome = file_.ReadAt(at, to + read, left, came);
            read += came;
            return outcome;
        }
        if (const FileOutcome outcome = Fill(at); outcome.Failed()) return outcome;
        if (at - start_ >= length_) break;  // the end of the file
    }
    return {};
}

FileOutcome BufferedFile::WriteAt(std::uint64_t position, const void* source, ULONG size, ULONG& written) noexcept {
    written = 0;
    const auto* const from = static_cast<const std::byte*>(source);
    while (written < size) {
        const std::uint64_t at = position + written;
        const ULONG left = size - written;
        if (left < capacity_ && at >= start_ && at - start_ <= length_ && at - start_ < capacity_) {
            const auto skipped = static_cast<ULONG>(at - start_);
            const ULONG piece = std::min(left, capacity_ - skipped);
            std::memcpy(buffer_.get() + skipped, from + written, piece);
            dirtyBegin_ = IsDirty() ? std::min(dirtyBegin_, skipped) : skipped;
            dirtyEnd_ = std::max(dirtyEnd_, skipped + piece);
            length_ = std::max(length_, dirtyEnd_);
            written += piece;
            continue;
        }
        if (const FileOutcome outcome = WriteOut(); outcome.Failed()) return outcome;
        Begin(at);
        if (left >= capacity_) {  // too much for the buffer: straight to the file
            ULONG went = 0;
            const FileOutcome outcome = file_.WriteAt(at, from + written, left, went);
            written += went;
            return outcome;
        }
    }
    return {};
}

FileOutcome BufferedFile::GetSize(std::uint64_t& size) const noexcept {
    if (const FileOutcome outcome = file_.GetSize(size); outcome.Failed()) return outcome;
    if (IsDirty()) size = std::max(size, start_ + dirtyEnd_);
    return {};
}

FileOutcome BufferedFile::Resize(std::uint64_t size) noexcept {
    if (const FileOutcome outcome = WriteOut(); outcome.Failed()) return outcome;
    Begin(0);
    return file_.Resize(size);
}

FileOutcome BufferedFile::WriteOut() noexcept {
    if (!IsDirty()) return {};
    ULONG went = 0;
    const FileOutcome outcome =
        file_.WriteAt(start_ + dirtyBegin_, buffer_.get() + dirtyBegin_, dirtyEnd_ - dirtyBegin_, went);
    if (!outcome.Failed()) dirtyBegin_ = dirtyEnd_ = 0;
    return outcome;
}

FileOutcome BufferedFile::Commit() noexcept {
    const FileOutcome outcome = WriteOut();
    return outcome.Failed() ? outcome : file_.Flush();
}

FileOutcome BufferedFile::SetCapacity(ULONG capacity) {
    if (const FileOutcome outcome = WriteOut(); outcome.Failed()) return outcome;
    buffer_ = std::make_unique_for_overwrite<std::byte[]>(capacity);
    capacity_ = capacity;
    Begin(0);
    return {};
}

FileOutcome BufferedFile::Fill(std::uint64_t position) noexcept {
    if (const FileOutcome outcome = WriteOut(); outcome.Failed()) return outcome;
    Begin(position - position % capacity_);  // so that reading backwards finds what comes next, too
    return file_.ReadAt(start_, buffer_.get(), capacity_, length_);
}

}  // namespace mova
