#include "json/NamePool.h"

#include <algorithm>

namespace json {

std::uint32_t NamePool::LookUp(std::u16string_view text) {
    if (slots_.size() < known_.size() * 2 + 2) Enlarge();
    const std::uint32_t hash = hash_(text);
    const std::size_t mask = slots_.size() - 1;
    std::size_t at = hash & mask;
    for (; slots_[at]; at = (at + 1) & mask) {
        const Name* const name = known_[slots_[at] - 1].name;
        if (name->hash == hash && name->View() == text) return slots_[at] - 1;
    }
    known_.push_back({Name::Write(arena_.Take(Name::Size(text.size())), text, hash)});
    slots_[at] = static_cast<std::uint32_t>(known_.size());
    return slots_[at] - 1;
}

void NamePool::Enlarge() {
    std::vector<std::uint32_t> larger(std::max<std::size_t>(16, slots_.size() * 2));
    const std::size_t mask = larger.size() - 1;
    for (std::uint32_t number = 0; number < known_.size(); ++number) {
        std::size_t at = known_[number].name->hash & mask;
        while (larger[at]) at = (at + 1) & mask;
        larger[at] = number + 1;
    }
    slots_.swap(larger);
}

}  // namespace json
