#pragma once

#include "json/Entries.h"
#include "json/NameIndex.h"
#include "kvcore/Arena.h"

namespace json {

/// The values of one object or array, in order. What was loaded stays in the arena that it was loaded into until it is
/// changed.
class Container {
 public:
    /// Frees what a value of Kind::Held or Kind::Other refers to.
    using Dispose = void (*)(const Value& value) noexcept;

    static constexpr std::uint32_t none = UINT32_MAX;

    Container(bool named, Dispose dispose) noexcept : dispose_(dispose), named_(named) {}
    ~Container() { Clear(); }
    Container(const Container&) = delete;
    Container& operator=(const Container&) = delete;

    std::uint32_t Count() const noexcept { return entries_ ? entries_->count : 0; }
    Value At(std::uint32_t i) const noexcept { return entries_->At(i, named_); }
    std::u16string_view NameAt(std::uint32_t i) const noexcept { return entries_->NameAt(i); }
    const kv::ArenaPtr& SharedArena() const noexcept { return arena_; }

    /// The member with exactly that name. @param hash the name's. @return its place, or none
    std::uint32_t Find(std::u16string_view name, std::uint32_t hash) const noexcept {
        return First(hash, [&](std::uint32_t i) { return NameAt(i) == name; });
    }
    /// The first of the members whose name same(name) calls the same; it does so only for names of equal hashes.
    template <class Same>
    std::uint32_t FindSame(std::uint32_t hash, Same same) const noexcept {
        return First(hash, [&](std::uint32_t i) { return same(NameAt(i)); });
    }

    /// Adds a value at the end, which then belongs to the container. @throw std::bad_alloc, nothing being changed
    void Append(const Value& value);
    void Append(std::u16string_view name, std::uint32_t hash, const Value& value);
    /// Puts a value, which then belongs to the container, into the place of another, which is freed last.
    /// @throw std::bad_alloc, nothing being changed
    void Replace(std::uint32_t i, const Value& value);
    /// Removes a value; those behind it move up. @throw std::bad_alloc, nothing being changed
    void Remove(std::uint32_t i);
    void Clear() noexcept;

    /// Takes what was loaded in place of what it holds. @param entries lie in the arena, and nobody else's.
    void Adopt(kv::ArenaPtr arena, Entries* entries) noexcept;

 private:
    static constexpr std::uint32_t longestScanned = 8;

    template <class Matches>
    std::uint32_t First(std::uint32_t hash, Matches matches) const noexcept {
        if (Count() > longestScanned && BuildIndex()) return index_.First(hash, none, matches);
        for (std::uint32_t i = 0; i < Count(); ++i)
            if (entries_->Names()[i].Get()->hash == hash && matches(i)) return i;
        return none;
    }
    /// @return false where there is no memory for it, or not enough members for an index to be worth it.
    bool BuildIndex() const noexcept;
    void ReserveOneMore();
    /// Makes sure that nobody else reads the entries that are about to change.
    void BeginChange();
    /// Moves the entries into a block of the container's own.
    void MoveTo(std::size_t capacity);
    void Put(const Value& value) noexcept;
    void Free(const Value& value) const noexcept;
    void FreeName(NameRef name) const noexcept;
    void FreeBlock(Entries* entries) const noexcept;

    Entries* entries_ = nullptr;
    kv::ArenaPtr arena_;  ///< of what was loaded; none where nothing was
    mutable NameIndex index_;
    Dispose dispose_;
    const bool named_;
    bool ownsBlock_ = false;  ///< whether the entries lie in a block of their own
};

}  // namespace json
