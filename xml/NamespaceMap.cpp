#include "xml/NamespaceMap.h"

#include "xml/SchemaRelease.h"

namespace xml {
namespace {

constexpr std::u16string_view xmlPrefix = u"xml";

}  // namespace

std::optional<std::u16string_view> NamespaceMap::PrefixOf(std::u16string_view uri, For use) const noexcept {
    for (std::size_t place = bindings_.size(); place-- > 0;) {
        const Binding& binding = bindings_[place];
        if (binding.uri == uri && (use == For::Element || !binding.prefix.empty()) && !IsHidden(place))
            return binding.prefix;
    }
    return uri == xmlUri ? std::optional(xmlPrefix) : std::nullopt;
}

/// Whether the prefix has been declared anew.
bool NamespaceMap::IsHidden(std::size_t place) const noexcept {
    for (std::size_t later = bindings_.size(); --later > place;)
        if (bindings_[later].prefix == bindings_[place].prefix) return true;
    return false;
}

}  // namespace xml
