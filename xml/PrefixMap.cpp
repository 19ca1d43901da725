#include "xml/PrefixMap.h"

namespace xml {

void PrefixMap::Declare(std::u16string_view prefix, std::u16string_view uri) {
    if (count_ == bindings_.size()) bindings_.emplace_back();
    Binding& binding = bindings_[count_];
    binding.prefix = prefix;
    binding.uri = uri;
    const auto [latest, isFirst] = latest_.try_emplace(binding.prefix, none);
    binding.outer = latest->second;
    latest->second = count_++;
}

void PrefixMap::CutTo(std::size_t count) noexcept {
    while (count_ > count) {
        const Binding& last = bindings_[--count_];
        const auto latest = latest_.find(last.prefix);
        if (last.outer == none)
            latest_.erase(latest);
        else
            latest->second = last.outer;
    }
}

std::size_t PrefixMap::Find(std::u16string_view prefix, std::size_t among) const noexcept {
    constexpr std::size_t few = 8;  // looked through sooner than sought in the map
    if (among <= few) {
        for (std::size_t i = among; i-- > 0;) {
            if (bindings_[i].prefix == prefix) return i;
        }
        return none;
    }
    const auto latest = latest_.find(prefix);
    std::size_t found = latest == latest_.end() ? none : latest->second;
    while (found != none && found >= among) found = bindings_[found].outer;
    return found;
}

std::optional<std::u16string_view> PrefixMap::UriOf(std::u16string_view prefix, std::size_t among) const noexcept {
    if (const std::size_t found = Find(prefix, among); found != none) {
        const std::u16string_view uri = bindings_[found].uri;
        if (uri.empty() && !prefix.empty()) return {};  // XML 1.1 can take a declaration back
        return uri;
    }
    if (prefix.empty()) return std::u16string_view();
    if (prefix == u"xml") return xmlUri;
    return {};
}

}  // namespace xml
