// A hashed list agrees with a plain vector over any sequence of operations.
#include <memory>
#include <utility>
#include <vector>

#include "containers/HashedList.h"
#include "fuzz/Input.h"

namespace {

struct Item {
    mova::HashLink<Item> link;
    std::uint8_t key = 0;
};
using List = mova::HashedList<std::unique_ptr<Item>>;

/// Few different ones, some of which share their lowest bits.
std::uint32_t HashOf(std::uint8_t key) {
    return (key & 3u) | (key & 0x0Cu) << 20;
}

void CheckFinds(const List& list, const std::vector<Item*>& model, std::uint8_t key) {
    const auto matches = [=](const Item& item) { return item.key == key; };
    Item *first = nullptr, *last = nullptr;
    for (Item* item : model) {
        if (!matches(*item)) continue;
        if (!first) first = item;
        last = item;
    }
    fuzz::Require(list.FindFirst(HashOf(key), matches) == first, "the first");
    fuzz::Require(list.FindLast(HashOf(key), matches) == last, "the last");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    fuzz::Input input(data, size);
    List list;
    std::vector<Item*> model;
    const auto append = [&](std::uint8_t key) {
        auto item = std::make_unique<Item>(Item{{.hash = HashOf(key)}, key});
        model.push_back(item.get());
        list.Append(std::move(item));
    };
    while (!input.IsEmpty()) {
        const std::uint8_t operation = input.Byte();
        const std::uint8_t operand = input.Byte();
        if (operation < 96) {
            append(operand);
        } else if (operation < 192) {
            if (model.empty()) continue;
            const std::size_t position = operand % model.size();
            fuzz::Require(list.Remove(list[position]).get() == model[position], "hands out what was there");
            model[position] = model.back();
            model.pop_back();
        } else if (operation < 224) {
            for (int i = 0; i < operand % 32; ++i) append(static_cast<std::uint8_t>(operand * i));
        } else if (operation < 250) {
            list.ReserveMore(operand);
        } else {
            list.Clear();
            model.clear();
        }
        CheckFinds(list, model, operand);
    }
    fuzz::Require(list.Count() == model.size(), "as many");
    for (std::size_t position = 0; position < model.size(); ++position) {
        fuzz::Require(&list[position] == model[position], "in one order");
        CheckFinds(list, model, model[position]->key);
    }
    return 0;
}
