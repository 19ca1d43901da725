#include "containers/HashedList.h"

#include <gtest/gtest.h>

#include <memory>
#include <new>
#include <random>
#include <tuple>
#include <vector>

#include "tests/native/FailingAllocation.h"

namespace mova {
namespace {

struct Item {
    HashLink<Item> link;
    int key = 0;
};

std::unique_ptr<Item> MakeItem(std::uint32_t hash, int key = 0) {
    return std::make_unique<Item>(Item{{.hash = hash}, key});
}

/// A list beside a plain vector of its items, which are known by their addresses.
class ListAndModel {
 public:
    /// @param hashes so many different ones; the factor sets them apart.
    ListAndModel(std::uint32_t hashes, std::uint32_t factor) : hashes_(hashes), factor_(factor) {}

    std::size_t Count() const { return model_.size(); }
    void Append(int key) {
        auto item = MakeItem(HashOf(key), key);
        Item* address = item.get();
        model_.reserve(model_.size() + 1);
        list_.Append(std::move(item));
        model_.push_back(address);
    }
    void RemoveAt(std::size_t position) {
        const FailingAllocation failing(model_.size() % 2);  // it may shrink, and must not have to
        Item* item = std::exchange(model_[position], model_.back());
        model_.pop_back();
        EXPECT_EQ(list_.Remove(*item).get(), item);
    }
    void Clear() { list_.Clear(), model_.clear(); }
    void ExpectFinds(int key) const {
        const auto matches = [=](const Item& item) { return item.key == key; };
        Item *first = nullptr, *last = nullptr;
        for (Item* item : model_) {
            if (!matches(*item)) continue;
            if (!first) first = item;
            last = item;
        }
        ASSERT_EQ(list_.FindFirst(HashOf(key), matches), first) << "key " << key << " of " << model_.size();
        ASSERT_EQ(list_.FindLast(HashOf(key), matches), last) << "key " << key << " of " << model_.size();
        ASSERT_EQ(list_.FindFirst(HashOf(key) ^ 0x8000'0000, matches), nullptr) << "another hash of the same bucket";
    }
    void ExpectSame() const {
        ASSERT_EQ(list_.Count(), model_.size());
        for (std::size_t i = 0; i < model_.size(); ++i) ASSERT_EQ(&list_[i], model_[i]) << i;
    }

 private:
    std::uint32_t HashOf(int key) const { return static_cast<std::uint32_t>(key) % hashes_ * factor_; }

    std::uint32_t hashes_, factor_;
    HashedList<std::unique_ptr<Item>> list_;
    std::vector<Item*> model_;
};

TEST(HashedList, AgreesWithAPlainVector) {
    const std::tuple<std::size_t, std::uint32_t, std::uint32_t, std::uint32_t> rows[] = {
        {12, 4, 2, 6},                      // about the length up to which it scans
        {60, 1, 2, 9},                      // one hash
        {300, 50, 0x10000, 70},             // hashes that share a bucket
        {3'000, 7, 2, 40},                  // long, with few hashes
        {3'000, 9'999, 0x9E3779B0, 2'000},  // long, with many
    };
    for (const auto& [longest, hashes, factor, keys] : rows) {
        std::mt19937 random(1);
        ListAndModel both(hashes, factor);
        bool grows = true;
        for (int step = 0; step < 15'000 && !HasFailure(); ++step) {
            if (both.Count() <= 1 || both.Count() >= longest) grows = both.Count() <= 1;
            if (both.Count() == 0 || (random() % 4 > 0) == grows) {
                both.Append(static_cast<int>(random() % keys));
            } else {
                both.RemoveAt(random() % both.Count());
            }
            if (random() % 5'000 == 0) both.Clear();
            both.ExpectFinds(static_cast<int>(random() % (keys + 1)));
            if (step % 50 == 0) both.ExpectSame();
        }
    }
}

TEST(HashedList, IsUnchangedByAnAppendThatFails) {
    ListAndModel both(5, 2);
    for (std::size_t granted = 0; both.Count() < 70;) {
        try {
            const FailingAllocation failing(granted++);
            both.Append(static_cast<int>(both.Count() % 7));
            granted = 0;
        } catch (const std::bad_alloc&) {
        }
        both.ExpectSame();
        for (int key = 0; key < 7; ++key) both.ExpectFinds(key);
    }
}

TEST(HashedList, AppendsWithoutMemoryWhatItMadeRoomFor) {
    for (const std::uint32_t before : {0u, 3u, 8u, 9u, 100u}) {
        HashedList<std::unique_ptr<Item>> list;
        std::vector<std::unique_ptr<Item>> items;
        for (std::uint32_t i = 0; i < before; ++i) list.Append(MakeItem(i));
        for (std::uint32_t i = 0; i < 50; ++i) items.push_back(MakeItem(i));
        list.ReserveMore(items.size());
        const FailingAllocation failing(0);
        for (auto& item : items) list.Append(std::move(item));
    }
}

TEST(HashedList, IsEmptyWhenWhatItHeldIsDestroyed) {
    HashedList<std::shared_ptr<Item>> list;
    std::vector<std::size_t> counts;
    const auto destroy = [&](Item* item) {
        counts.push_back(list.Count());
        delete item;
    };
    for (std::uint32_t i = 0; i < 20; ++i) list.Append({MakeItem(i).release(), destroy});
    list.Clear();
    EXPECT_EQ(counts, std::vector<std::size_t>(20, 0));
}

}  // namespace
}  // namespace mova
