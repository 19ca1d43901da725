#include "streams/CompressedLayout.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <random>
#include <string>

namespace mova::compressed {
namespace {

using Bytes = std::vector<std::byte>;

constexpr std::uint64_t fileSize = 1'000'000;

/// The beginning of a file with those slots, each where its sequence wants it.
Bytes Slots(std::initializer_list<Header> headers) {
    Bytes slots(bodyStart);
    for (const Header& header : headers) {
        const auto bytes = WriteHeader(header);
        std::copy(bytes.begin(), bytes.end(), slots.begin() + static_cast<std::ptrdiff_t>(SlotOf(header.sequence)));
    }
    return slots;
}

Header ForDirectory(std::span<const Entry> entries, std::uint64_t contentSize = 100 * blockSize) {
    return {.sequence = 1,
            .contentSize = contentSize,
            .directory = entries.empty() ? 0 : 500'000u,
            .blocks = entries.size(),
            .directoryChecksum = Checksum(DirectoryBytes(entries))};
}

LayoutError Read(std::span<const Entry> entries, const Header& header) {
    std::vector<Entry> read;
    return ReadDirectory(DirectoryBytes(entries), header, fileSize, read);
}

std::array<std::byte, blockSize> Noise(std::size_t length, unsigned seed = 1) {
    std::mt19937 random(seed);
    std::array<std::byte, blockSize> bytes{};
    for (std::size_t i = 0; i < length; ++i) bytes[i] = static_cast<std::byte>(random() | 1);
    return bytes;
}

}  // namespace

TEST(CompressedLayout, TakesTheLatestOfTwoHeaders) {
    const Header fifth{.sequence = 5, .contentSize = 7, .directory = 2'000, .blocks = 3, .directoryChecksum = 9};
    const Header sixth{.sequence = 6, .contentSize = 8};
    const Header beyond{.sequence = 6, .contentSize = 8, .directory = fileSize - 23, .blocks = 1};
    const Header manyBlocks{.sequence = 6, .directory = 2'000, .blocks = UINT64_MAX / 24 + 2};
    const Header inSlots{.sequence = 6, .directory = bodyStart - 1, .blocks = 1};
    const Header tooLong{.sequence = 6, .contentSize = greatestContent + 1};
    const struct {
        std::initializer_list<Header> headers;
        LayoutError error;
        std::uint64_t sequence;
    } rows[] = {
        {{fifth, sixth}, LayoutError::None, 6},
        {{fifth}, LayoutError::None, 5},
        {{sixth}, LayoutError::None, 6},
        {{}, LayoutError::Foreign, 0},
        {{fifth, beyond}, LayoutError::Damaged, 0},
        {{fifth, manyBlocks}, LayoutError::Damaged, 0},
        {{fifth, inSlots}, LayoutError::Damaged, 0},
        {{fifth, tooLong}, LayoutError::Damaged, 0},
        {{Header{.sequence = 0}}, LayoutError::Damaged, 0},
    };
    for (const auto& row : rows) {
        Header header;
        EXPECT_EQ(ReadHeader(Slots(row.headers), fileSize, header), row.error) << &row - rows;
        EXPECT_EQ(header.sequence, row.sequence) << &row - rows;
    }
    Header header;
    ASSERT_EQ(ReadHeader(Slots({fifth}), fileSize, header), LayoutError::None);
    EXPECT_EQ(header.contentSize, 7u);
    EXPECT_EQ(header.directory, 2'000u);
    EXPECT_EQ(header.blocks, 3u);
    EXPECT_EQ(header.directoryChecksum, 9u);
}

TEST(CompressedLayout, FallsBackToTheFormerHeaderWhereOneIsTorn) {
    const Bytes whole = Slots({{.sequence = 5}, {.sequence = 6}});
    for (std::size_t i = 0; i < headerSize; ++i) {
        Bytes torn = whole;
        torn[i] ^= std::byte{0x40};
        Header header;
        EXPECT_EQ(ReadHeader(torn, fileSize, header), LayoutError::None) << i;
        EXPECT_EQ(header.sequence, 5u) << i;
    }
    for (std::size_t length = 0; length <= whole.size(); ++length) {
        Header header;
        const LayoutError error = ReadHeader(std::span(whole).first(length), fileSize, header);
        EXPECT_EQ(error, length < headerSize ? LayoutError::Foreign : LayoutError::None) << length;
    }
}

TEST(CompressedLayout, RefusesDirectoriesThatCannotBe) {
    const std::vector<Entry> good{{0, bodyStart, 2, 1}, {7, 300'000, greatestBlock, 2}, {99, bodyStart + 2, 700, 3}};
    ASSERT_EQ(Read(good, ForDirectory(good)), LayoutError::None);
    const Entry rows[] = {
        {100, 400'000, 5, 0},                     // beyond the content
        {UINT64_MAX, 400'000, 5, 0},              //
        {7, 400'000, 5, 0},                       // twice
        {6, 400'000, 5, 0},                       // out of order
        {50, 400'000, 0, 0},                      // nothing
        {50, 400'000, 1, 0},                      //
        {50, 400'000, greatestBlock + 1, 0},      // too long
        {50, bodyStart - 1, 5, 0},                // in the header slots
        {50, fileSize - 4, 5, 0},                 // beyond the file
        {50, UINT64_MAX - 2, 5, 0},               //
        {50, bodyStart + 1, 5, 0},                // in another block
        {50, 300'000 - 4, 5, 0},                  //
        {50, 500'000 + 4 * entrySize - 1, 5, 0},  // in the directory
    };
    for (const Entry& row : rows) {
        std::vector<Entry> entries = good;
        entries.insert(entries.begin() + 2, row);
        EXPECT_EQ(Read(entries, ForDirectory(entries)), LayoutError::Damaged) << &row - rows;
    }
    Header header = ForDirectory(good);
    ++header.blocks;
    EXPECT_EQ(Read(good, header), LayoutError::Damaged);
    header = ForDirectory(good);
    ++header.directoryChecksum;
    EXPECT_EQ(Read(good, header), LayoutError::Damaged);
    EXPECT_EQ(Read(good, ForDirectory(good, 99 * blockSize)), LayoutError::Damaged);
    EXPECT_EQ(Read(good, ForDirectory(good, 99 * blockSize + 1)), LayoutError::None);
    EXPECT_EQ(Read({}, ForDirectory({})), LayoutError::None);
}

TEST(CompressedLayout, FreePlacesAgreeWithAPlainMap) {
    constexpr std::uint64_t size = 4'000;
    std::vector<bool> used(size);
    FreePlaces places;
    std::vector<Place> taken;
    std::mt19937 random(1);
    const auto mark = [&](Place place, bool inUse) {
        for (std::uint64_t i = place.offset; i < place.offset + place.length; ++i) {
            ASSERT_LT(i, bodyStart + size);
            ASSERT_NE(used[i - bodyStart], inUse) << i;
            used[i - bodyStart] = inUse;
        }
    };
    for (int step = 0; step < 20'000 && !testing::Test::HasFatalFailure(); ++step) {
        if (taken.size() < 20 || (taken.size() < 60 && random() % 2)) {
            const std::uint64_t length = 1 + random() % 60;
            taken.push_back({places.Take(length), length});
            mark(taken.back(), true);
        } else {
            std::swap(taken[random() % taken.size()], taken.back());
            Place given = taken.back();
            taken.pop_back();
            if (const std::uint64_t kept = random() % 3 == 0 ? given.length / 2 : 0; kept != 0) {
                taken.push_back({given.offset, kept});
                given = {given.offset + kept, given.length - kept};
            }
            places.Give(given);
            mark(given, false);
        }
        const auto last = std::find(used.rbegin(), used.rend(), true);
        ASSERT_EQ(places.End(), bodyStart + static_cast<std::uint64_t>(used.rend() - last));
        if (step % 1'000 != 0) continue;
        std::sort(taken.begin(), taken.end(), [](Place a, Place b) { return a.offset < b.offset; });
        places = FreePlaces(taken);  // what is free can be told from what is not
    }
    for (const Place& place : taken) places.Give(place);
    EXPECT_EQ(places.End(), bodyStart);
}

TEST(CompressedLayout, BlocksComeBack) {
    BlockCodec codec;
    const auto noise = Noise(blockSize);
    auto repeated = Noise(100);
    for (std::size_t i = 100; i < 50'000; ++i) repeated[i] = repeated[i % 100];
    const struct {
        std::array<std::byte, blockSize> content;
        std::size_t longest;
    } rows[] = {{noise, greatestBlock}, {repeated, 1'000}, {Noise(1), 2}, {Noise(10), 11}, {{}, 0}};
    for (const auto& row : rows) {
        for (const int level : {0, 1, 9}) {
            const auto stored = codec.Encode(row.content, level);
            EXPECT_LE(stored.size(), level == 0 ? greatestBlock : row.longest) << &row - rows;
            EXPECT_EQ(stored.empty(), row.longest == 0);
            if (stored.empty()) continue;
            auto read = Noise(blockSize, 2);
            const std::uint32_t checksum = Checksum(row.content);
            EXPECT_TRUE(BlockCodec::Decode(stored, checksum, read)) << &row - rows;
            EXPECT_TRUE(read == row.content) << &row - rows;
            EXPECT_FALSE(BlockCodec::Decode(stored, checksum + 1, read));
            EXPECT_FALSE(BlockCodec::Decode(stored.first(stored.size() - 1), checksum, read));
            EXPECT_FALSE(BlockCodec::Decode({}, checksum, read));
        }
    }
    Bytes tooLong(greatestBlock + 1);
    auto read = noise;
    EXPECT_FALSE(BlockCodec::Decode(tooLong, 0, read));
    tooLong[0] = std::byte{2};
    EXPECT_FALSE(BlockCodec::Decode(tooLong, 0, read)) << "a way of storing that there is not";
}

}  // namespace mova::compressed
