#pragma once

#include <cstddef>
#include <cstdint>
#include <deque>
#include <map>
#include <optional>
#include <string>
#include <string_view>

#include "xml/SchemaRelease.h"

namespace xml {

/// What the prefixes stand for that are declared in an element and those around it. The prefix xml is, always; the
/// empty prefix stands for no namespace until it is declared. Finding takes a time that hardly grows with what is
/// declared.
class PrefixMap {
 public:
    /// @throw std::bad_alloc
    void Declare(std::u16string_view prefix, std::u16string_view uri);
    std::size_t Count() const noexcept { return count_; }
    /// Forgets those that were declared since there were so many.
    void CutTo(std::size_t count) noexcept;

    /// What a prefix stands for, valid as long as the declaration is. @param among how many declarations count
    std::optional<std::u16string_view> UriOf(std::u16string_view prefix, std::size_t among) const noexcept;

 private:
    static constexpr std::size_t none = SIZE_MAX;
    struct Binding {
        std::u16string prefix, uri;
        std::size_t outer = none;  ///< the binding of the same prefix that this one hides
    };
    std::size_t Find(std::u16string_view prefix, std::size_t among) const noexcept;

    std::deque<Binding> bindings_;  ///< which stay where they are; those behind the last keep their memory
    std::size_t count_ = 0;
    std::map<std::u16string, std::size_t, std::less<>> latest_;  ///< of each prefix that is bound
};

}  // namespace xml
