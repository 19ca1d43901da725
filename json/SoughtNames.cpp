#include "json/SoughtNames.h"

#include <algorithm>

#include "containers/NameFold.h"
#include "containers/SystemNames.h"

namespace mova {

void SoughtNames::Take(std::u16string_view text) {
    if (!list_.empty() && text == list_) return;
    Take(std::vector<std::u16string>());
    constexpr std::u16string_view blanks = u" \t";
    for (std::u16string_view left = text; !left.empty();) {
        const auto comma = std::min(left.find(u','), left.size());
        const auto name = left.substr(0, comma);
        left.remove_prefix(std::min(comma + 1, left.size()));
        const auto first = name.find_first_not_of(blanks);
        if (first == std::u16string_view::npos) continue;
        Add(std::u16string(name.substr(first, name.find_last_not_of(blanks) - first + 1)));
    }
    list_ = text;
}

void SoughtNames::Take(std::vector<std::u16string> names) {
    list_.clear();
    names_.clear();
    for (auto& name : names) Add(std::move(name));
}

void SoughtNames::Add(std::u16string text) {
    const bool isAscii = IsAsciiName(text);
    names_.push_back({std::move(text), isAscii});
}

std::int32_t SoughtNames::Find(std::u16string_view name) const noexcept {
    const auto found = std::find_if(names_.begin(), names_.end(), [=](const Name& sought) {
        return sought.text.size() == name.size() && SameName(sought.text, sought.isAscii, name);
    });
    return found == names_.end() ? -1 : static_cast<std::int32_t>(found - names_.begin());
}

}  // namespace mova
