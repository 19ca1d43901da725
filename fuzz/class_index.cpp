// A class directory agrees with a search through its table.
#include <algorithm>
#include <vector>

#include "fuzz/Input.h"
#include "server/ClassDirectory.h"

namespace {

struct Entry {
    kv::IdBits id;
    std::uint8_t kind = 0;
    bool isEnd = false;

    kv::IdBits Id() const { return id; }
    bool IsEnd() const { return isEnd; }
    bool IsCategory() const { return kind % 4 == 1; }
    bool IsSingleton() const { return kind % 4 == 2; }
};

/// From one byte each, so that identifiers meet often: in the bucket, in either half, in both.
kv::IdBits TakeIdentifier(fuzz::Input& input) {
    const std::uint64_t home = input.Byte();
    const std::uint64_t rest = input.Byte();
    return {home | rest % 16 << 32, rest / 16};
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    fuzz::Input input(data, size);
    const std::size_t count = input.Byte();
    std::vector<Entry> table;
    while (table.size() < count && !input.IsEmpty()) {
        const kv::IdBits id = TakeIdentifier(input);
        table.push_back({id, input.Byte()});
    }
    table.push_back({{}, 0, true});

    const mova::ClassDirectory<Entry> directory(table.data());
    const auto check = [&](const kv::IdBits& id) {
        const auto match = [&](const Entry& entry) { return !entry.isEnd && !entry.IsCategory() && entry.id == id; };
        const auto first = std::find_if(table.begin(), table.end(), match);
        const Entry* found = directory.Find(id);
        fuzz::Require((found == nullptr) == (first == table.end()), "found where the table has it");
        if (!found) return;
        fuzz::Require(match(*found), "what is found was sought");
        fuzz::Require(found == &*first || std::count_if(table.begin(), table.end(), match) > 1, "and is in the table");
    };
    for (const Entry& entry : table) check(entry.id);
    for (int i = 0; i < 16; ++i) check(TakeIdentifier(input));

    std::vector<const Entry*> singletons;
    for (const Entry& entry : table)
        if (!entry.isEnd && entry.IsSingleton()) singletons.push_back(&entry);
    fuzz::Require(directory.Singletons() == singletons, "singletons in table order");
    return 0;
}
