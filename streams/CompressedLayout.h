// What a file of compressed blocks looks like, and where in it there is room. The content is cut into blocks that are
// compressed each by itself. A directory says where the blocks are; a block that is all zeros is nowhere. One of two
// header slots says where the directory is: they are written in turn, so that the state before stays whole until the
// new one is. Numbers are little-endian.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <map>
#include <memory>
#include <set>
#include <span>
#include <utility>
#include <vector>

namespace mova::compressed {

inline constexpr std::uint32_t blockSize = 64 * 1024;
inline constexpr std::size_t headerSize = 64;
inline constexpr std::size_t slotDistance = 512;  ///< a sector, which is written whole or not at all
inline constexpr std::uint64_t bodyStart = 2 * slotDistance;
inline constexpr std::size_t entrySize = 24;
inline constexpr std::uint64_t greatestContent = INT64_MAX;
inline constexpr std::uint32_t greatestBlock = 1 + blockSize;  ///< as it is stored: how, and its bytes

/// What a header slot says.
struct Header {
    std::uint64_t sequence = 0;  ///< grows by one with every commit
    std::uint64_t contentSize = 0;
    std::uint64_t directory = 0;  ///< its offset; 0 where it is empty
    std::uint64_t blocks = 0;     ///< how many entries it has
    std::uint32_t directoryChecksum = 0;
};

/// Where a block is in the file.
struct Entry {
    std::uint64_t block;     ///< which one of the content
    std::uint64_t offset;    ///< in the file
    std::uint32_t length;    ///< as it is stored
    std::uint32_t checksum;  ///< of the content
};

enum class LayoutError { None, Foreign, Newer, Damaged };

/// The offset of the slot that a commit is written to.
constexpr std::uint64_t SlotOf(std::uint64_t sequence) noexcept {
    return sequence % 2 * slotDistance;
}

std::array<std::byte, headerSize> WriteHeader(const Header& header) noexcept;
/// Reads the header of the latest commit. @param slots the file's beginning, at most bodyStart bytes
/// @param fileSize what the directory must be within
LayoutError ReadHeader(std::span<const std::byte> slots, std::uint64_t fileSize, Header& header) noexcept;

/// A directory as it is stored. @param entries in rising order of their blocks
std::span<const std::byte> DirectoryBytes(std::span<const Entry> entries) noexcept;
std::uint32_t Checksum(std::span<const std::byte> bytes) noexcept;
/// Reads a directory: blocks in rising order, within the content, in places within the file that share no byte.
/// @param header as ReadHeader answered it @throw std::bad_alloc for what is in proportion to the bytes
LayoutError ReadDirectory(std::span<const std::byte> bytes, const Header& header, std::uint64_t fileSize,
                          std::vector<Entry>& entries);

using Block = std::span<std::byte, blockSize>;
using ConstBlock = std::span<const std::byte, blockSize>;

/// Makes and reads blocks as they are stored.
class BlockCodec {
 public:
    /// @throw std::bad_alloc
    BlockCodec() : stored_(std::make_unique_for_overwrite<std::byte[]>(greatestBlock)) {}

    /// @param level how hard it is compressed, 0 to 9
    /// @return the block as it is stored, valid until the next call; nothing for one that is all zeros
    std::span<const std::byte> Encode(ConstBlock content, int level) noexcept;
    /// Memory for a block that is to be decoded.
    std::span<std::byte> Stored() noexcept { return {stored_.get(), greatestBlock}; }
    /// @return false where the bytes are no block, or another one; what the content holds then is of no use.
    static bool Decode(std::span<const std::byte> stored, std::uint32_t checksum, Block content) noexcept;

 private:
    std::unique_ptr<std::byte[]> stored_;
};

/// An offset and a length in the file.
struct Place {
    std::uint64_t offset;
    std::uint64_t length;
};
/// The places of a directory and its blocks, in rising order. @throw std::bad_alloc
std::vector<Place> UsedPlaces(const Header& header, std::span<const Entry> entries);

/// Which bytes of a file are free. A free place that there is no memory to remember is not used again.
class FreePlaces {
 public:
    /// What is behind the header slots and not in use. @param used in rising order, sharing no byte
    explicit FreePlaces(std::span<const Place> used = {}) noexcept;

    /// Takes a place into use: the smallest that is long enough, else one at the end. @return its offset
    std::uint64_t Take(std::uint64_t length) noexcept;
    /// Gives back what was taken, or a piece of it.
    void Give(Place place) noexcept;
    /// Behind the last byte that is in use.
    std::uint64_t End() const noexcept { return end_; }

 private:
    void Add(Place gap) noexcept;
    void Remove(Place gap) noexcept;

    std::uint64_t end_ = bodyStart;
    std::map<std::uint64_t, std::uint64_t> gaps_;                     ///< offset and length; none at the end
    std::set<std::pair<std::uint64_t, std::uint64_t>> gapsByLength_;  ///< the same, length and offset
};

}  // namespace mova::compressed
