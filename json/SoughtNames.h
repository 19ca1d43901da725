#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace mova {

/// The names of members that objects are searched for, compared without regard to case.
class SoughtNames {
 public:
    /// Takes the names between the commas of a text, without blanks around them. The same text as before, as for each
    /// record of many, takes no time. @throw std::bad_alloc, no names being left
    void Take(std::u16string_view text);
    /// Takes names as they are. @throw std::bad_alloc, no names being left
    void Take(std::vector<std::u16string> names);

    /// The place of the first that is the same as a name; -1 where none is.
    std::int32_t Find(std::u16string_view name) const noexcept;

 private:
    struct Name {
        std::u16string text;
        bool isAscii;
    };
    void Add(std::u16string text);

    std::u16string list_;  ///< what the names were taken from; empty where from nothing
    std::vector<Name> names_;
};

}  // namespace mova
