#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace xml {

/// The namespaces that are declared in an element and those around it. The prefix xml is, always.
class NamespaceMap {
 public:
    /// Declares a namespace, in front of those that are declared already. @throw std::bad_alloc
    void Declare(std::u16string_view prefix, std::u16string_view uri) {
        bindings_.push_back({std::u16string(prefix), std::u16string(uri)});
    }
    std::size_t Count() const noexcept { return bindings_.size(); }
    /// Forgets those that were declared since there were so many.
    void CutTo(std::size_t count) noexcept {
        bindings_.erase(bindings_.begin() + static_cast<std::ptrdiff_t>(count), bindings_.end());
    }

    enum class For { Element, Attribute };
    /// A prefix that stands for a namespace; the last declared of several, and none that has been declared for another
    /// one since. An attribute's is not empty, for without one it would be in no namespace.
    /// @return nothing where there is none; valid until the map changes
    std::optional<std::u16string_view> PrefixOf(std::u16string_view uri, For use) const noexcept;

 private:
    struct Binding {
        std::u16string prefix, uri;
    };
    bool IsHidden(std::size_t place) const noexcept;

    std::vector<Binding> bindings_;
};

}  // namespace xml
