#pragma once

#include <array>
#include <map>
#include <memory>
#include <vector>

#include "streams/CompressedLayout.h"
#include "streams/File.h"

namespace mova {

/// The content of a stream over a compressed file; how the file looks is in CompressedLayout.h. What was written since
/// the last commit is in places that the state of that commit does not use.
class CompressedFile {
 public:
    /// @param level how hard blocks are compressed, 0 to 9 @throw std::bad_alloc
    explicit CompressedFile(int level) : level_(level) {}
    ~CompressedFile() { static_cast<void>(WriteOut()); }  // nobody is left who could be told
    CompressedFile(const CompressedFile&) = delete;
    CompressedFile& operator=(const CompressedFile&) = delete;

    FileOutcome Open(std::u16string_view path, movaFileMode mode);
    const File& OpenFile() const noexcept { return file_; }
    FileOutcome ReadAt(std::uint64_t position, void* target, ULONG size, ULONG& read);
    FileOutcome WriteAt(std::uint64_t position, const void* source, ULONG size, ULONG& written);
    FileOutcome GetSize(std::uint64_t& size) const noexcept;
    FileOutcome Resize(std::uint64_t size);
    FileOutcome WriteOut() noexcept { return Commit(); }
    FileOutcome Commit() noexcept;

    int Level() const noexcept { return level_; }
    void SetLevel(int level) noexcept { level_ = level; }

 private:
    /// A block in memory.
    struct Cached {
        std::uint64_t block = none;
        std::uint64_t lastUse = 0;  ///< 0 while it holds nothing
        bool dirty = false;
        std::unique_ptr<std::byte[]> content;

        void Forget() noexcept { block = none, lastUse = 0, dirty = false; }
        compressed::Block Content() const noexcept { return compressed::Block(content.get(), compressed::blockSize); }
    };
    /// Where a block is, and since which commit.
    struct Stored {
        compressed::Place place;
        std::uint32_t checksum;
        std::uint64_t epoch;
    };
    using Directory = std::map<std::uint64_t, Stored>;
    static constexpr std::uint64_t none = UINT64_MAX;

    FileOutcome Load(std::uint64_t fileSize);
    FileOutcome LoadDirectory(const compressed::Header& header, std::uint64_t fileSize);

    Cached* FindCached(std::uint64_t block) noexcept;
    /// Brings a block into memory. @param whole whether all of it is going to be replaced
    FileOutcome Cache(std::uint64_t block, bool whole, Cached*& cached);
    FileOutcome ReadBlock(std::uint64_t block, compressed::Block content);
    /// Brings a changed block to the file, or takes one from it that has become all zeros.
    FileOutcome Store(Cached& cached);
    /// Gives a block's place back, at once or after the next commit.
    void Retire(const Stored& stored) noexcept;
    Directory::iterator Drop(Directory::iterator entry) noexcept;
    bool IsFresh(const Stored& stored) const noexcept { return stored.epoch == epoch_; }
    /// Makes room for all that can be retired before the next commit, so that retiring does not fail.
    void ReservePending();

    FileOutcome CommitChanges();
    /// Writes the directory to a free place and completes the header.
    FileOutcome WriteDirectory(compressed::Header& header);
    void FreePending() noexcept;
    /// Forgets what is beyond a smaller size.
    FileOutcome CutTo(std::uint64_t size);

    FileOutcome ReadAll(std::uint64_t position, std::span<std::byte> target) const noexcept;
    FileOutcome WriteAll(std::uint64_t position, std::span<const std::byte> source) noexcept;

    File file_;
    int level_;
    std::uint64_t contentSize_ = 0;
    std::uint64_t sequence_ = 0;  ///< of the last commit
    std::uint64_t epoch_ = 1;     ///< grows when a header is written: places before it are not to be overwritten
    bool changed_ = false;        ///< since the last commit
    Directory directory_;
    compressed::FreePlaces free_;
    compressed::Place directoryPlace_{};      ///< of the last commit
    std::vector<compressed::Place> pending_;  ///< free once the next commit is made
    compressed::BlockCodec codec_;
    std::array<Cached, 4> cache_;
    std::uint64_t uses_ = 0;
};

}  // namespace mova
