#pragma once

#include <cstdint>
#include <vector>

#include "json/Entries.h"
#include "kvcore/Arena.h"

namespace json {

/// Hashes a name; names that differ in case only have equal hashes.
using NameHash = std::uint32_t (*)(std::u16string_view name) noexcept;

/// The names of a document that is being loaded, each of them once.
class NamePool {
 public:
    NamePool(NameHash hash, kv::Arena& arena) noexcept : hash_(hash), arena_(arena) {}

    /// The number of a name. @throw std::bad_alloc
    std::uint32_t Find(std::u16string_view text) {
        // Objects of one kind have their names in one order: most often the name is the one that came next last time.
        const std::uint32_t guess = last_ < known_.size() ? known_[last_].next : 0;
        if (guess < known_.size() && known_[guess].name->View() == text) return last_ = guess;
        const std::uint32_t found = LookUp(text);
        if (last_ < known_.size()) known_[last_].next = found;
        return last_ = found;
    }

    const Name* At(std::uint32_t number) const noexcept { return known_[number].name; }
    /// Which container a name was given to last; 0 for none.
    std::uint32_t& LastUser(std::uint32_t number) noexcept { return known_[number].lastUser; }

 private:
    struct Known {
        const Name* name;
        std::uint32_t next = 0;  ///< the name that followed this one last
        std::uint32_t lastUser = 0;
    };

    std::uint32_t LookUp(std::u16string_view text);
    void Enlarge();

    NameHash hash_;
    kv::Arena& arena_;
    std::vector<Known> known_;
    std::vector<std::uint32_t> slots_;  ///< the number behind a name's, by hash; 0 for a free slot
    std::uint32_t last_ = UINT32_MAX;
};

}  // namespace json
