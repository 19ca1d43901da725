#include "server/ClassDirectory.h"

#include <gtest/gtest.h>

#include <utility>
#include <vector>

namespace mova {
namespace {

int identifiersRead = 0;

struct Entry {
    enum Kind { plain, category, singleton, end };
    kv::IdBits id;
    Kind kind = plain;

    kv::IdBits Id() const { return ++identifiersRead, id; }
    bool IsEnd() const { return kind == end; }
    bool IsCategory() const { return kind == category; }
    bool IsSingleton() const { return kind == singleton; }
};

/// Identifiers of one home differ in the rank alone, which stands in a part that does not choose the bucket.
constexpr kv::IdBits Identifier(std::uint64_t home, std::uint64_t rank) {
    return rank % 2 ? kv::IdBits{home | rank << 32, 0} : kv::IdBits{home, rank};
}

TEST(ClassIndex, HasTwiceAsManyBucketsAsEntriesRoundedUpToAPowerOfTwo) {
    const std::size_t rows[][2] = {{0, 16},  {1, 16},      {8, 16},      {9, 32},     {16, 32},
                                   {17, 64}, {1000, 2048}, {1024, 2048}, {1025, 4096}};
    for (const auto& [entries, buckets] : rows) EXPECT_EQ(ClassIndex<Entry>(entries).BucketCount(), buckets) << entries;
}

TEST(ClassIndex, FindsWhatCollidesAndNothingElse) {
    const std::pair<const char*, std::vector<std::uint64_t>> rows[] = {
        {"no entry", {}},
        {"one home", {3, 3, 3}},
        {"a run across another's home", {3, 4, 3, 4, 5}},
        {"around the end", {15, 15, 15, 0, 14}},
        {"words larger than the number of buckets", {0x12345673, 0xFFFFFFFF, 0x80000003, 16}},
        {"all buckets but one", std::vector<std::uint64_t>(15, 9)},
        {"every bucket, so that a search ends at its home", std::vector<std::uint64_t>(16, 5)},
    };
    for (const auto& [name, homes] : rows) {
        ClassIndex<Entry> index(8);
        std::vector<Entry> entries;
        for (const std::uint64_t home : homes) entries.push_back({Identifier(home, entries.size() + 1)});
        for (const Entry& entry : entries) index.Insert(entry);
        for (const Entry& entry : entries) EXPECT_EQ(index.Find(entry.id), &entry) << name;
        for (std::uint64_t home = 0; home < index.BucketCount(); ++home)
            for (const std::uint64_t rank : {0u, 98u, 99u})
                EXPECT_EQ(index.Find(Identifier(home, rank)), nullptr) << name << ", home " << home;
    }
}

TEST(ClassDirectory, AnswersAlikeWhetherItScansOrUsesAnIndex) {
    for (const std::size_t count : {0u, 1u, 5u, 6u, 7u, 100u}) {
        std::vector<Entry> table;
        for (std::size_t i = 0; i < count; ++i) table.push_back({Identifier(i * i, i + 1), Entry::Kind(i % 3)});
        table.push_back({{}, Entry::end});
        identifiersRead = 0;
        const ClassDirectory<Entry> directory(table.data());
        EXPECT_EQ(identifiersRead > 0, count > 5) << "only an index reads identifiers beforehand; entries: " << count;
        std::vector<const Entry*> singletons;
        for (const Entry& entry : table) {
            const bool isFound = entry.kind == Entry::plain || entry.kind == Entry::singleton;
            EXPECT_EQ(directory.Find(entry.id), isFound ? &entry : nullptr) << &entry - table.data() << " of " << count;
            if (entry.kind == Entry::singleton) singletons.push_back(&entry);
        }
        EXPECT_EQ(directory.Find(Identifier(0, 1000)), nullptr) << count;
        EXPECT_EQ(directory.Singletons(), singletons) << count;
    }
}

TEST(ClassDirectory, FindsTheFirstOfSeveralThatIsNoCategory) {
    const kv::IdBits id{7, 7};
    const Entry table[] = {{{1, 1}}, {id, Entry::category}, {id}, {id}, {{}, Entry::end}};
    EXPECT_EQ(ClassDirectory<Entry>(table).Find(id), &table[2]);
}

}  // namespace
}  // namespace mova
