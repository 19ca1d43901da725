#include "streams/CompressedFile.h"

#include <algorithm>
#include <cstring>
#include <limits>

namespace mova {
namespace {

using compressed::blockSize;
using compressed::LayoutError;

FileOutcome OutcomeOf(LayoutError error) noexcept {
    switch (error) {
        case LayoutError::None:
            return {};
        case LayoutError::Foreign:
            return {STG_E_INVALIDHEADER, FileMessage::None, u"The file %s is not a compressed file."};
        case LayoutError::Newer:
            return {STG_E_OLDDLL, FileMessage::None, u"The compressed file %s was written by a newer version."};
        default:
            return {STG_E_DOCFILECORRUPT, FileMessage::None, u"The compressed file %s is damaged."};
    }
}

/// As much as one call of the system takes.
ULONG Piece(std::size_t size) noexcept {
    return static_cast<ULONG>(std::min<std::size_t>(size, std::numeric_limits<LONG>::max()));
}

}  // namespace

FileOutcome CompressedFile::Open(std::u16string_view path, movaFileMode mode) {
    if (const FileOutcome outcome = file_.Open(path, mode, FileSharing::ReadersOnly); outcome.Failed()) return outcome;
    std::uint64_t size = 0;
    if (const FileOutcome outcome = file_.GetSize(size); outcome.Failed()) return outcome;
    const bool mayBeNew = mode != movaFileModeRead && mode != movaFileModeReadWrite;
    if (size != 0 || !mayBeNew) return Load(size);
    changed_ = true;
    return CommitChanges();
}

FileOutcome CompressedFile::Load(std::uint64_t fileSize) {
    std::array<std::byte, compressed::bodyStart> slots;
    const std::size_t present = static_cast<std::size_t>(std::min<std::uint64_t>(fileSize, slots.size()));
    if (const FileOutcome outcome = ReadAll(0, std::span(slots).first(present)); outcome.Failed()) return outcome;
    compressed::Header header;
    const LayoutError error = compressed::ReadHeader(std::span(slots).first(present), fileSize, header);
    return error == LayoutError::None ? LoadDirectory(header, fileSize) : OutcomeOf(error);
}

FileOutcome CompressedFile::LoadDirectory(const compressed::Header& header, std::uint64_t fileSize) {
    // The header was held against the file's size: there are as many bytes.
    std::vector<std::byte> bytes(static_cast<std::size_t>(header.blocks * compressed::entrySize));
    if (const FileOutcome outcome = ReadAll(header.directory, bytes); outcome.Failed()) return outcome;
    std::vector<compressed::Entry> entries;
    if (const LayoutError error = compressed::ReadDirectory(bytes, header, fileSize, entries);
        error != LayoutError::None)
        return OutcomeOf(error);
    for (const compressed::Entry& entry : entries)
        directory_.emplace_hint(directory_.end(), entry.block, Stored{{entry.offset, entry.length}, entry.checksum, 0});
    ReservePending();
    free_ = compressed::FreePlaces(compressed::UsedPlaces(header, entries));
    directoryPlace_ = {header.directory, bytes.size()};
    contentSize_ = header.contentSize;
    sequence_ = header.sequence;
    return {};
}

FileOutcome CompressedFile::ReadAt(std::uint64_t position, void* target, ULONG size, ULONG& read) {
    read = 0;
    if (position >= contentSize_) return {};
    size = static_cast<ULONG>(std::min<std::uint64_t>(size, contentSize_ - position));
    auto* const to = static_cast<std::byte*>(target);
    while (read < size) {
        const std::uint64_t block = (position + read) / blockSize;
        const auto skipped = static_cast<ULONG>((position + read) % blockSize);
        const ULONG piece = std::min(size - read, blockSize - skipped);
        if (!FindCached(block) && !directory_.contains(block)) {
            std::memset(to + read, 0, piece);
        } else {
            Cached* cached = nullptr;
            if (const FileOutcome outcome = Cache(block, false, cached); outcome.Failed()) return outcome;
            std::memcpy(to + read, cached->content.get() + skipped, piece);
        }
        read += piece;
    }
    return {};
}

FileOutcome CompressedFile::WriteAt(std::uint64_t position, const void* source, ULONG size, ULONG& written) {
    written = 0;
    const auto* const from = static_cast<const std::byte*>(source);
    while (written < size) {
        const std::uint64_t block = (position + written) / blockSize;
        const auto skipped = static_cast<ULONG>((position + written) % blockSize);
        const ULONG piece = std::min(size - written, blockSize - skipped);
        Cached* cached = nullptr;
        if (const FileOutcome outcome = Cache(block, piece == blockSize, cached); outcome.Failed()) return outcome;
        std::memcpy(cached->content.get() + skipped, from + written, piece);
        cached->dirty = changed_ = true;
        written += piece;
        contentSize_ = std::max(contentSize_, position + written);
    }
    return {};
}

FileOutcome CompressedFile::GetSize(std::uint64_t& size) const noexcept {
    size = contentSize_;
    return {};
}

FileOutcome CompressedFile::Resize(std::uint64_t size) {
    if (size == contentSize_) return {};
    if (size < contentSize_) {
        if (const FileOutcome outcome = CutTo(size); outcome.Failed()) return outcome;
    }
    contentSize_ = size;
    changed_ = true;
    return {};
}

FileOutcome CompressedFile::CutTo(std::uint64_t size) {
    const std::uint64_t last = size / blockSize;
    const auto kept = static_cast<std::ptrdiff_t>(size % blockSize);
    if (kept != 0 && (FindCached(last) || directory_.contains(last))) {
        Cached* cached = nullptr;
        if (const FileOutcome outcome = Cache(last, false, cached); outcome.Failed()) return outcome;
        // Behind the end all is zero, so that growing again shows nothing of what was there.
        std::fill(cached->Content().begin() + kept, cached->Content().end(), std::byte{});
        cached->dirty = true;
    }
    const std::uint64_t firstGone = kept != 0 ? last + 1 : last;
    for (Cached& cached : cache_)
        if (cached.block >= firstGone) cached.Forget();
    for (auto entry = directory_.lower_bound(firstGone); entry != directory_.end();) entry = Drop(entry);
    return {};
}

FileOutcome CompressedFile::Commit() noexcept try { return CommitChanges(); } catch (const std::bad_alloc&) {
    return {E_OUTOFMEMORY, FileMessage::Unknown};
}

CompressedFile::Cached* CompressedFile::FindCached(std::uint64_t block) noexcept {
    for (Cached& cached : cache_)
        if (cached.block == block) return &cached;
    return nullptr;
}

FileOutcome CompressedFile::Cache(std::uint64_t block, bool whole, Cached*& cached) {
    cached = FindCached(block);
    if (!cached) {
        Cached& oldest = *std::min_element(cache_.begin(), cache_.end(), [](const Cached& left, const Cached& right) {
            return left.lastUse < right.lastUse;
        });
        if (oldest.dirty) {
            if (const FileOutcome outcome = Store(oldest); outcome.Failed()) return outcome;
        }
        oldest.Forget();
        if (!oldest.content) oldest.content = std::make_unique_for_overwrite<std::byte[]>(blockSize);
        if (!whole) {
            if (const FileOutcome outcome = ReadBlock(block, oldest.Content()); outcome.Failed()) return outcome;
        }
        oldest.block = block;
        cached = &oldest;
    }
    cached->lastUse = ++uses_;
    return {};
}

FileOutcome CompressedFile::ReadBlock(std::uint64_t block, compressed::Block content) {
    const auto found = directory_.find(block);
    if (found == directory_.end()) {
        std::fill(content.begin(), content.end(), std::byte{});
        return {};
    }
    const Stored& stored = found->second;
    const auto bytes = codec_.Stored().first(static_cast<std::size_t>(stored.place.length));
    if (const FileOutcome outcome = ReadAll(stored.place.offset, bytes); outcome.Failed()) return outcome;
    return compressed::BlockCodec::Decode(bytes, stored.checksum, content) ? FileOutcome{} : fileUnreadable;
}

FileOutcome CompressedFile::Store(Cached& cached) {
    const std::span<const std::byte> encoded = codec_.Encode(cached.Content(), level_);
    if (encoded.empty()) {
        if (const auto found = directory_.find(cached.block); found != directory_.end()) Drop(found);
        cached.dirty = false;
        return {};
    }
    const auto [found, added] = directory_.try_emplace(cached.block, Stored{{}, 0, epoch_});
    Stored& stored = found->second;
    const bool inPlace = IsFresh(stored) && encoded.size() <= stored.place.length;
    const std::uint64_t offset = inPlace ? stored.place.offset : free_.Take(encoded.size());
    if (const FileOutcome outcome = WriteAll(offset, encoded); outcome.Failed()) {
        if (!inPlace) free_.Give({offset, encoded.size()});
        if (added) directory_.erase(found);
        return outcome;
    }
    if (inPlace) {
        free_.Give({offset + encoded.size(), stored.place.length - encoded.size()});
    } else {
        Retire(stored);
    }
    stored = {{offset, encoded.size()}, compressed::Checksum(cached.Content()), epoch_};
    cached.dirty = false;
    return {};
}

void CompressedFile::Retire(const Stored& stored) noexcept {
    if (IsFresh(stored)) {
        free_.Give(stored.place);
    } else {
        pending_.push_back(stored.place);
    }
}

CompressedFile::Directory::iterator CompressedFile::Drop(Directory::iterator entry) noexcept {
    Retire(entry->second);
    return directory_.erase(entry);
}

void CompressedFile::ReservePending() {
    constexpr std::size_t directories = 2;  // the former one, and one of which it is not known whether it counts
    pending_.reserve(pending_.size() + directory_.size() + directories);
}

FileOutcome CompressedFile::CommitChanges() {
    for (Cached& cached : cache_) {
        if (!cached.dirty) continue;
        if (const FileOutcome outcome = Store(cached); outcome.Failed()) return outcome;
    }
    if (!changed_) return {};
    ReservePending();
    compressed::Header header{.sequence = sequence_ + 1, .contentSize = contentSize_, .blocks = directory_.size()};
    if (const FileOutcome outcome = WriteDirectory(header); outcome.Failed()) return outcome;
    const compressed::Place place{header.directory, header.blocks * compressed::entrySize};
    // From here on the file may be in its new state, whatever the system answers.
    ++epoch_;
    const auto slot = compressed::WriteHeader(header);
    FileOutcome outcome = WriteAll(compressed::SlotOf(header.sequence), slot);
    if (!outcome.Failed()) outcome = file_.Flush();
    pending_.push_back(outcome.Failed() ? place : std::exchange(directoryPlace_, place));
    if (outcome.Failed()) return outcome;
    sequence_ = header.sequence;
    changed_ = false;
    FreePending();
    return {};
}

FileOutcome CompressedFile::WriteDirectory(compressed::Header& header) {
    std::vector<compressed::Entry> entries;
    entries.reserve(directory_.size());
    for (const auto& [block, stored] : directory_)
        entries.push_back(
            {block, stored.place.offset, static_cast<std::uint32_t>(stored.place.length), stored.checksum});
    const std::span<const std::byte> bytes = compressed::DirectoryBytes(entries);
    header.directoryChecksum = compressed::Checksum(bytes);
    if (bytes.empty()) return {};
    header.directory = free_.Take(bytes.size());
    FileOutcome outcome = WriteAll(header.directory, bytes);
    if (!outcome.Failed()) outcome = file_.Flush();
    if (outcome.Failed()) free_.Give({header.directory, bytes.size()});
    return outcome;
}

void CompressedFile::FreePending() noexcept {
    for (const compressed::Place& place : pending_) free_.Give(place);
    pending_.clear();
    std::uint64_t size = 0;
    const bool longer = !file_.GetSize(size).Failed() && size > free_.End();
    if (longer) static_cast<void>(file_.Resize(free_.End()));  // a file that stays longer is as good
}

FileOutcome CompressedFile::ReadAll(std::uint64_t position, std::span<std::byte> target) const noexcept {
    while (!target.empty()) {
        ULONG came = 0;
        if (const FileOutcome outcome = file_.ReadAt(position, target.data(), Piece(target.size()), came);
            outcome.Failed())
            return outcome;
        if (came == 0) return fileUnreadable;
        target = target.subspan(came);
        position += came;
    }
    return {};
}

FileOutcome CompressedFile::WriteAll(std::uint64_t position, std::span<const std::byte> source) noexcept {
    while (!source.empty()) {
        ULONG went = 0;
        if (const FileOutcome outcome = file_.WriteAt(position, source.data(), Piece(source.size()), went);
            outcome.Failed())
            return outcome;
        source = source.subspan(went);
        position += went;
    }
    return {};
}

}  // namespace mova
