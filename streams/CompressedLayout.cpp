#include "streams/CompressedLayout.h"

#include <zlib.h>

#include <algorithm>
#include <bit>
#include <cstring>
#include <new>
#include <type_traits>

namespace mova::compressed {
namespace {

static_assert(std::endian::native == std::endian::little, "numbers are written as they stand in memory");

constexpr std::array magic{'m', 'o', 'v', 'a', 'C', 'F', 'S', '\x1A'};
constexpr std::uint32_t version = 1;

/// A header slot as it is in the file. Magic, version and checksum stay where they are in every version.
struct Slot {
    std::array<char, 8> magic;
    std::uint32_t version;
    std::uint32_t blockSize;
    std::uint64_t sequence;
    std::uint64_t contentSize;
    std::uint64_t directory;
    std::uint64_t blocks;
    std::uint32_t directoryChecksum;
    std::array<std::uint32_t, 2> reserved;
    std::uint32_t checksum;  ///< of all before it
};
static_assert(sizeof(Slot) == headerSize && std::has_unique_object_representations_v<Slot>);
static_assert(sizeof(Entry) == entrySize && std::has_unique_object_representations_v<Entry>);

// How a stored block's bytes are to be taken, which its first byte says.
constexpr std::byte plain{0};
constexpr std::byte deflated{1};

const Bytef* ForZlib(const std::byte* bytes) noexcept {
    return reinterpret_cast<const Bytef*>(bytes);
}
Bytef* ForZlib(std::byte* bytes) noexcept {
    return reinterpret_cast<Bytef*>(bytes);
}

std::uint32_t ChecksumOf(const Slot& slot) noexcept {
    return Checksum(std::as_bytes(std::span(&slot, 1)).first(offsetof(Slot, checksum)));
}

bool IsWithin(Place place, std::uint64_t fileSize) noexcept {
    return place.offset >= bodyStart && place.offset <= fileSize && place.length <= fileSize - place.offset;
}

/// Whether what a slot says can be so.
bool IsSound(const Slot& slot, std::uint64_t fileSize) noexcept {
    if (slot.blockSize != blockSize || slot.contentSize > greatestContent) return false;
    if (slot.blocks == 0) return slot.directory == 0;
    return slot.blocks <= fileSize / entrySize && IsWithin({slot.directory, slot.blocks * entrySize}, fileSize);
}

bool IsSound(const Entry& entry, const Header& header, std::uint64_t fileSize) noexcept {
    const std::uint64_t blocks = header.contentSize / blockSize + (header.contentSize % blockSize != 0 ? 1 : 0);
    return entry.block < blocks && entry.length > 1 && entry.length <= greatestBlock &&
           IsWithin({entry.offset, entry.length}, fileSize);
}

}  // namespace

std::array<std::byte, headerSize> WriteHeader(const Header& header) noexcept {
    Slot slot{magic,
              version,
              blockSize,
              header.sequence,
              header.contentSize,
              header.directory,
              header.blocks,
              header.directoryChecksum,
              {},
              0};
    slot.checksum = ChecksumOf(slot);
    return std::bit_cast<std::array<std::byte, headerSize>>(slot);
}

LayoutError ReadHeader(std::span<const std::byte> slots, std::uint64_t fileSize, Header& header) noexcept {
    bool foreign = true;
    Slot latest{};
    for (std::size_t at = 0; at < bodyStart && at + headerSize <= slots.size(); at += slotDistance) {
        Slot slot;
        std::memcpy(&slot, slots.data() + at, sizeof slot);
        if (slot.magic != magic) continue;
        foreign = false;
        if (slot.checksum != ChecksumOf(slot)) continue;
        if (slot.version > version) return LayoutError::Newer;
        if (slot.version == version && SlotOf(slot.sequence) == at && slot.sequence > latest.sequence) latest = slot;
    }
    if (foreign) return LayoutError::Foreign;
    if (latest.sequence == 0 || !IsSound(latest, fileSize)) return LayoutError::Damaged;
    header = {latest.sequence, latest.contentSize, latest.directory, latest.blocks, latest.directoryChecksum};
    return LayoutError::None;
}

std::span<const std::byte> DirectoryBytes(std::span<const Entry> entries) noexcept {
    return std::as_bytes(entries);
}

std::uint32_t Checksum(std::span<const std::byte> bytes) noexcept {
    return static_cast<std::uint32_t>(crc32_z(0, ForZlib(bytes.data()), bytes.size()));
}

LayoutError ReadDirectory(std::span<const std::byte> bytes, const Header& header, std::uint64_t fileSize,
                          std::vector<Entry>& entries) {
    if (bytes.size() / entrySize != header.blocks || bytes.size() % entrySize != 0 ||
        Checksum(bytes) != header.directoryChecksum)
        return LayoutError::Damaged;
    std::vector<Entry> read(bytes.size() / entrySize);
    if (!read.empty()) std::memcpy(read.data(), bytes.data(), bytes.size());
    const auto sound = [&](const Entry& entry) { return IsSound(entry, header, fileSize); };
    const auto notRising = [](const Entry& left, const Entry& right) { return left.block >= right.block; };
    const auto touching = [](Place left, Place right) { return left.offset + left.length > right.offset; };
    if (!std::all_of(read.begin(), read.end(), sound) ||
        std::adjacent_find(read.begin(), read.end(), notRising) != read.end())
        return LayoutError::Damaged;
    const std::vector<Place> used = UsedPlaces(header, read);
    if (std::adjacent_find(used.begin(), used.end(), touching) != used.end()) return LayoutError::Damaged;
    entries = std::move(read);
    return LayoutError::None;
}

std::span<const std::byte> BlockCodec::Encode(ConstBlock content, int level) noexcept {
    std::size_t length = content.size();
    while (length != 0 && content[length - 1] == std::byte{}) --length;
    if (length == 0) return {};
    std::byte* const stored = stored_.get();
    auto packed = static_cast<uLongf>(length - 1);  // as much as makes it worth while
    if (level != 0 &&
        compress2(ForZlib(stored + 1), &packed, ForZlib(content.data()), static_cast<uLong>(length), level) == Z_OK) {
        stored[0] = deflated;
        return {stored, packed + 1};
    }
    stored[0] = plain;
    std::memcpy(stored + 1, content.data(), length);
    return {stored, length + 1};
}

bool BlockCodec::Decode(std::span<const std::byte> stored, std::uint32_t checksum, Block content) noexcept {
    if (stored.empty()) return false;
    const auto bytes = stored.subspan(1);
    uLongf length = blockSize;
    if (stored[0] == plain) {
        if (bytes.size() > blockSize) return false;
        std::copy(bytes.begin(), bytes.end(), content.begin());
        length = static_cast<uLongf>(bytes.size());
    } else if (stored[0] != deflated || uncompress(ForZlib(content.data()), &length, ForZlib(bytes.data()),
                                                   static_cast<uLong>(bytes.size())) != Z_OK) {
        return false;
    }
    std::fill(content.begin() + static_cast<std::ptrdiff_t>(length), content.end(), std::byte{});
    return Checksum(content) == checksum;
}

std::vector<Place> UsedPlaces(const Header& header, std::span<const Entry> entries) {
    std::vector<Place> used;
    used.reserve(entries.size() + 1);
    if (header.blocks != 0) used.push_back({header.directory, header.blocks * entrySize});
    for (const Entry& entry : entries) used.push_back({entry.offset, entry.length});
    std::sort(used.begin(), used.end(), [](Place left, Place right) { return left.offset < right.offset; });
    return used;
}

FreePlaces::FreePlaces(std::span<const Place> used) noexcept {
    for (const Place& place : used) {
        if (place.offset > end_) Add({end_, place.offset - end_});
        end_ = place.offset + place.length;
    }
}

std::uint64_t FreePlaces::Take(std::uint64_t length) noexcept {
    const auto found = gapsByLength_.lower_bound({length, 0});
    if (found == gapsByLength_.end()) return std::exchange(end_, end_ + length);
    const Place gap{found->second, found->first};
    Remove(gap);
    if (gap.length > length) Add({gap.offset + length, gap.length - length});
    return gap.offset;
}

void FreePlaces::Give(Place place) noexcept {
    if (place.length == 0) return;
    if (const auto next = gaps_.find(place.offset + place.length); next != gaps_.end()) {
        place.length += next->second;
        Remove({next->first, next->second});
    }
    if (auto before = gaps_.lower_bound(place.offset); before != gaps_.begin()) {
        --before;
        if (const Place gap{before->first, before->second}; gap.offset + gap.length == place.offset) {
            Remove(gap);
            place = {gap.offset, gap.length + place.length};
        }
    }
    if (place.offset + place.length == end_) {
        end_ = place.offset;
    } else {
        Add(place);
    }
}

void FreePlaces::Add(Place gap) noexcept try {
    const auto added = gaps_.emplace(gap.offset, gap.length).first;
    try {
        gapsByLength_.emplace(gap.length, gap.offset);
    } catch (...) {
        gaps_.erase(added);
        throw;
    }
} catch (const std::bad_alloc&) {
    return;  // the place stays in use
}

void FreePlaces::Remove(Place gap) noexcept {
    gaps_.erase(gap.offset);
    gapsByLength_.erase({gap.length, gap.offset});
}

}  // namespace mova::compressed
