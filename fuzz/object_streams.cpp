// The tree of any bytes ends within them and is not much larger; the tables of object streams agree with the standard
// library's.
#include <algorithm>
#include <array>
#include <optional>
#include <unordered_map>

#include "fuzz/Readers.h"
#include "streams/NumberTable.h"
#include "streams/PointerMap.h"
#include "tools/mova/StreamTree.h"

namespace {

void CheckTree(fuzz::Bytes bytes) {
    using mova::tool::StreamEnd;
    const auto tree = mova::tool::PrintStream(bytes);
    fuzz::Require(tree.offset <= bytes.size(), "ends within the stream");
    fuzz::Require((tree.end == StreamEnd::whole) == tree.reason.empty(), "says why");
    fuzz::Require(tree.end != StreamEnd::whole || tree.offset == bytes.size(), "reads all");
    fuzz::Require(tree.lines.size() <= 32 * bytes.size() + 256, "a small multiple of the stream");
    fuzz::Require(tree.lines.ends_with('\n'), "whole lines");
    const bool isPlain = std::none_of(tree.lines.begin(), tree.lines.end(),
                                      [](char c) { return c != '\n' && static_cast<unsigned char>(c) < 0x20; });
    fuzz::Require(isPlain, "no control characters");
}

/// Numbers near one another, and far apart.
std::uint32_t TakeNumber(fuzz::Input& input) {
    const std::uint16_t word = input.Word();
    return word & 0x8000 ? std::uint32_t{word} << 16 | word : word % 256u;
}

void CheckNumbers(fuzz::Input input) {
    mova::NumberTable<std::optional<std::uint32_t>> table;
    std::unordered_map<std::uint32_t, std::uint32_t> model;
    for (std::uint32_t value = 0; !input.IsEmpty(); ++value) {
        const std::uint32_t number = TakeNumber(input);
        if (number == 0x8000'8000) {
            table.Clear();
            model.clear();
        }
        const auto known = model.find(number);
        const auto* found = table.Find(number);
        fuzz::Require((found != nullptr) == (known != model.end()), "a number that was added");
        fuzz::Require(!found || **found == known->second, "its value");
        if (!found) {
            table.Add(number, value);
            model.emplace(number, value);
        }
    }
    for (const auto& [number, value] : model) {
        const auto* found = table.Find(number);
        fuzz::Require(found && **found == value, "all that were added");
    }
}

void CheckPointers(fuzz::Input input) {
    static std::array<char, 0x10000u << 7> memory;
    mova::PointerMap<std::uint32_t> map;
    std::unordered_map<const void*, std::uint32_t> model;
    const unsigned alignment = input.Byte() % 8;
    for (std::uint32_t position = 0; !input.IsEmpty(); ++position) {
        const std::size_t number = input.Word();
        if (number == 0) {
            map.Clear();
            model.clear();
            continue;
        }
        const void* address = memory.data() + (number << alignment);
        const auto known = model.find(address);
        const std::uint32_t* found = map.Find(address);
        fuzz::Require(known == model.end() ? !found : found && *found == known->second, "the value of an address");
        if (known == model.end()) {
            map.Add(address, position);
            model.emplace(address, position);
        } else if (position % 2 == 0) {
            map.Remove(address);
            model.erase(known);
        }
    }
    for (const auto& [address, position] : model) {
        const std::uint32_t* found = map.Find(address);
        fuzz::Require(found && *found == position, "all that were added and not removed");
    }
}

}  // namespace

// The bytes are a stream, unless they begin with a letter for one of the tables.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    fuzz::Input input(data, size);
    switch (input.Byte()) {
        case 'n':
            CheckNumbers(input);
            break;
        case 'p':
            CheckPointers(input);
            break;
        default:
            CheckTree(fuzz::BytesOf(data, size));
    }
    return 0;
}
