#include "server/ThreadMap.h"

#include <gtest/gtest.h>

#include <map>
#include <new>
#include <utility>

#include "tests/native/FailingAllocation.h"

namespace mova {
namespace {

using Model = std::map<std::uint32_t, std::uint32_t>;

constexpr std::uint32_t lastThread = 4 * 2000;

void ExpectSame(ThreadMap<std::uint32_t>& map, const Model& model, const char* when) {
    for (const auto& [thread, value] : model) {
        const std::uint32_t* found = map.Find(thread);
        ASSERT_TRUE(found && *found == value) << when << ", thread " << thread;
    }
    for (std::uint32_t thread = 0; thread <= lastThread + 4; thread += 2)
        ASSERT_EQ(map.Find(thread) != nullptr, model.contains(thread)) << when << ", thread " << thread;
}

TEST(ThreadMap, KeepsWhatItWasGivenThroughGrowthRemovalAndReinsertion) {
    ThreadMap<std::uint32_t> map;
    Model model;
    const auto insert = [&](std::uint32_t thread, std::uint32_t value) { map.Insert(thread, model[thread] = value); };
    for (const std::uint32_t lowBits : {0xCu, 0x1u, 0xFu, 0x0u}) insert(0xFFFF'FFF0 | lowBits, lowBits);
    for (std::uint32_t i = 0; i < lastThread; i += 4) insert(i * 7 % lastThread + 4, i);  // in no order
    ExpectSame(map, model, "inserted");
    for (std::uint32_t thread = 4; thread <= lastThread; thread += 12) {
        EXPECT_EQ(map.Remove(thread), model[thread]) << thread;
        EXPECT_EQ(map.Remove(thread), 0u) << "an empty value for one that is gone: " << thread;
        model.erase(thread);
    }
    ExpectSame(map, model, "a third removed");
    for (std::uint32_t thread = 4; thread <= lastThread; thread += 12) insert(thread, ~thread);
    ExpectSame(map, model, "reinserted");
}

TEST(ThreadMap, IsUnchangedByAnInsertionThatFails) {
    ThreadMap<std::uint32_t> map;
    Model model;
    std::size_t granted = 0;
    for (std::uint32_t thread = 4; thread <= 4 * 40; ExpectSame(map, model, "tried to insert")) {
        try {
            const FailingAllocation failing(granted++);
            map.Insert(thread, 1);
        } catch (const std::bad_alloc&) {
            continue;
        }
        model[std::exchange(thread, thread + 4)] = 1;
        granted = 0;
    }
}

}  // namespace
}  // namespace mova
