#pragma once

#include <algorithm>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <vector>

#include "kvcore/IdBits.h"

namespace mova {

/// An open-addressing hash index from class identifier to table entry.
/// @tparam Entry has `kv::IdBits Id() const`; the entries stay where they are.
template <class Entry>
class ClassIndex {
 public:
    /// An index for so many entries; twice as many buckets, a power of two, 16 at least.
    /// @throw std::bad_alloc
    explicit ClassIndex(std::size_t entries)
        : buckets_(std::bit_ceil(std::max(leastBuckets, entries * bucketsPerEntry))), mask_(buckets_.size() - 1) {}

    /// Adds an entry; there are always more buckets than entries.
    void Insert(const Entry& entry) noexcept {
        std::size_t bucket = HomeOf(entry.Id());
        while (buckets_[bucket]) bucket = Next(bucket);
        buckets_[bucket] = &entry;
    }

    /// The entry with the identifier; null where there is none.
    const Entry* Find(const kv::IdBits& id) const noexcept {
        const std::size_t home = HomeOf(id);
        std::size_t bucket = home;
        do {
            const Entry* entry = buckets_[bucket];
            if (!entry || entry->Id() == id) return entry;
            bucket = Next(bucket);
        } while (bucket != home);
        return nullptr;
    }

    std::size_t BucketCount() const noexcept { return buckets_.size(); }

 private:
    static constexpr std::size_t leastBuckets = 16;
    static constexpr std::size_t bucketsPerEntry = 2;

    std::size_t HomeOf(const kv::IdBits& id) const noexcept { return static_cast<std::uint32_t>(id.first) & mask_; }
    std::size_t Next(std::size_t bucket) const noexcept { return (bucket + 1) & mask_; }

    std::vector<const Entry*> buckets_;
    std::size_t mask_;
};

/// What is looked up in a class table: its entries by class identifier, and its singletons in table order. A table of
/// few entries is scanned, a larger one indexed.
/// @tparam Entry further has `bool IsEnd() const` (true for the one behind the table's last), `bool IsCategory() const`
///     (such entries are never found) and `bool IsSingleton() const`.
template <class Entry>
class ClassDirectory {
 public:
    /// @throw std::bad_alloc
    explicit ClassDirectory(const Entry* table) : table_(table), index_(0) {
        std::size_t count = 0;
        while (!table[count].IsEnd()) ++count;
        usesIndex_ = count > mostScanned;
        if (usesIndex_) index_ = ClassIndex<Entry>(count);
        for (const Entry* entry = table; !entry->IsEnd(); ++entry) {
            if (entry->IsSingleton()) singletons_.push_back(entry);
            if (usesIndex_ && !entry->IsCategory()) index_.Insert(*entry);
        }
    }

    /// The creatable entry with the identifier, the first of several in a table that is scanned; null where there is
    /// none.
    const Entry* Find(const kv::IdBits& id) const noexcept {
        if (usesIndex_) return index_.Find(id);
        for (const Entry* entry = table_; !entry->IsEnd(); ++entry)
            if (!entry->IsCategory() && entry->Id() == id) return entry;
        return nullptr;
    }

    const std::vector<const Entry*>& Singletons() const noexcept { return singletons_; }

 private:
    static constexpr std::size_t mostScanned = 5;

    const Entry* table_;
    bool usesIndex_ = false;
    ClassIndex<Entry> index_;
    std::vector<const Entry*> singletons_;
};

}  // namespace mova
