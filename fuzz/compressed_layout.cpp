// Whatever a compressed file says, its places are within the file and share no byte, and its blocks decode or do not.
#include <algorithm>
#include <vector>

#include "fuzz/Input.h"
#include "streams/CompressedLayout.h"

namespace {

using namespace mova::compressed;

/// Bytes as they are but for the checksums, which the fuzzer would never find.
void MakeSound(std::vector<std::byte>& file) {
    for (std::size_t at = 0; at < bodyStart; at += slotDistance) {
        if (file.size() < at + headerSize) return;
        const auto slot = std::span(file).subspan(at, headerSize);
        const auto put = [&](std::size_t offset, std::uint32_t value) {
            std::copy_n(reinterpret_cast<const std::byte*>(&value), sizeof value, slot.data() + offset);
        };
        const auto get = [&](std::size_t offset) {
            std::uint64_t value = 0;
            std::copy_n(slot.data() + offset, sizeof value, reinterpret_cast<std::byte*>(&value));
            return value;
        };
        constexpr std::size_t directoryField = 32, blocksField = 40, directoryChecksumField = 48, checksumField = 60;
        const std::uint64_t directory = get(directoryField);
        const std::uint64_t blocks = get(blocksField);
        if (directory <= file.size() && blocks <= (file.size() - directory) / entrySize) {
            const auto bytes = std::span(file).subspan(directory, blocks * entrySize);
            put(directoryChecksumField, Checksum(bytes));
        }
        put(checksumField, Checksum(slot.first(checksumField)));
    }
}

void CheckPlaces(const std::vector<Place>& used, std::uint64_t fileSize) {
    std::uint64_t end = bodyStart;
    for (const Place& place : used) {
        fuzz::Require(place.offset >= end, "no byte of two places");
        end = place.offset + place.length;
        fuzz::Require(end <= fileSize, "within the file");
    }
    FreePlaces free(used);
    fuzz::Require(free.End() == end, "ends where the last place does");
    for (int i = 0; i < 8; ++i) {
        const std::uint64_t offset = free.Take(7);
        for (const Place& place : used)
            fuzz::Require(offset + 7 <= place.offset || offset >= place.offset + place.length, "takes what is free");
    }
}

void CheckFile(std::span<const std::byte> file) {
    Header header;
    const auto slots = file.first(std::min<std::size_t>(file.size(), bodyStart));
    if (ReadHeader(slots, file.size(), header) != LayoutError::None) return;
    const auto directory = file.subspan(header.directory, header.blocks * entrySize);
    std::vector<Entry> entries;
    if (ReadDirectory(directory, header, file.size(), entries) != LayoutError::None) return;
    const auto again = DirectoryBytes(entries);
    fuzz::Require(std::equal(again.begin(), again.end(), directory.begin(), directory.end()), "the same directory");
    CheckPlaces(UsedPlaces(header, entries), file.size());
    static std::array<std::byte, blockSize> content;
    for (const Entry& entry : entries) {
        const bool right = BlockCodec::Decode(file.subspan(entry.offset, entry.length), entry.checksum, content);
        fuzz::Require(!right || Checksum(content) == entry.checksum, "right or refused");
    }
}

void CheckBlock(std::span<const std::byte> bytes, int level) {
    static BlockCodec codec;
    static std::array<std::byte, blockSize> content;
    static std::array<std::byte, blockSize> read;
    BlockCodec::Decode(bytes, 0, content);
    content = {};
    std::copy_n(bytes.begin(), std::min<std::size_t>(bytes.size(), blockSize), content.begin());
    const auto stored = codec.Encode(content, level);
    fuzz::Require(stored.size() <= greatestBlock, "fits its place");
    if (stored.empty()) return;
    fuzz::Require(BlockCodec::Decode(stored, Checksum(content), read) && read == content, "comes back");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size == 0) return 0;
    std::vector<std::byte> bytes(size - 1);
    std::copy_n(reinterpret_cast<const std::byte*>(data) + 1, size - 1, bytes.begin());
    if (data[0] < 2) {
        if (data[0] == 1) MakeSound(bytes);
        CheckFile(bytes);
    } else {
        CheckBlock(bytes, data[0] % 10);
    }
    return 0;
}
