#pragma once

#include <algorithm>
#include <map>
#include <memory>
#include <type_traits>
#include <unordered_map>
#include <vector>

#include "json/NamePool.h"

namespace json {

/// A stack of plain values, of which the next is filled in by whoever asks for it.
template <class T>
class PlainStack {
 public:
    std::size_t Size() const noexcept { return size_; }
    T& operator[](std::size_t i) noexcept { return values_[i]; }
    /// @throw std::bad_alloc
    T& Next() {
        if (size_ == capacity_) [[unlikely]]
            Grow();
        return values_[size_++];
    }
    void CutTo(std::size_t size) noexcept { size_ = size; }

 private:
    static_assert(std::is_trivially_copyable_v<T>);
    void Grow() {
        const std::size_t larger = capacity_ == 0 ? 64 : capacity_ * 2;
        auto grown = std::make_unique_for_overwrite<T[]>(larger);
        if (size_ != 0) std::copy_n(values_.get(), size_, grown.get());
        values_ = std::move(grown);
        capacity_ = larger;
    }

    std::unique_ptr<T[]> values_;
    std::size_t size_ = 0;
    std::size_t capacity_ = 0;
};

/// Puts the values of a document together as they come, from the outermost object or array inwards, and lays each
/// container that is complete into the arena.
class TreeBuilder {
 public:
    /// @param replaces whether a name that comes again replaces a value of the same type instead of being refused.
    /// @param detail the tags of the objects and arrays within carry it.
    TreeBuilder(kv::Arena& arena, NameHash hash, bool replaces, std::int8_t detail)
        : arena_(arena), names_(hash, arena), replaces_(replaces), detail_(detail) {}

    /// Begins an object or array within the innermost one that is open.
    void Begin(bool named);
    /// Completes the innermost container, which is not the outermost, and answers it as a value.
    Value End();
    /// What the outermost container holds so far; null where none was begun. Nothing can be added afterwards.
    Entries* Finish();

    bool InObject() const noexcept { return frames_.back().named; }
    std::size_t OpenCount() const noexcept { return frames_.size(); }

    /// Names the next value of the innermost object.
    void SetName(std::u16string_view name) { frames_.back().name = names_.Find(name); }
    /// Adds a value to the innermost container. @return false where its name is there already and is not replaced
    bool Add(const Value& value) {
        Frame& frame = frames_.back();
        if (frame.named && !IsNew(frame)) return ReplaceFormer(frame, value);
        Slot& slot = slots_.Next();
        slot.payload = value.payload;
        if (frame.named) slot.name = names_.At(frame.name);
        slot.tag = value.tag;
        return true;
    }
    /// A copy of a text in the arena, as a value.
    Value CopyText(std::u16string_view text);

 private:
    struct Slot {
        Payload payload;
        const Name* name;
        Tag tag;
    };
    using Places = std::unordered_map<const Name*, std::size_t>;
    struct Frame {
        std::size_t start;     ///< of its slots
        std::uint32_t serial;  ///< in the order of beginning, from 1
        std::uint32_t name;    ///< of the value to come
        bool named;
    };

    bool IsNew(Frame& frame) {
        std::uint32_t& user = names_.LastUser(frame.name);
        // Between two names of an object only objects within it have taken names, and these began after it.
        const bool isNew = user < frame.serial || (user > frame.serial && PlaceOf(frame) == slots_.Size());
        user = frame.serial;
        return isNew;
    }
    /// Where the innermost object has its value of the pending name; slots_.Size() where it has none.
    std::size_t PlaceOf(Frame& frame);
    bool ReplaceFormer(Frame& frame, const Value& value);
    Entries* LayDown(std::size_t first, std::size_t last, bool named);

    kv::Arena& arena_;
    NamePool names_;
    PlainStack<Slot> slots_;  ///< of all open containers, the outermost first
    std::vector<Frame> frames_;
    std::map<std::uint32_t, Places> places_;  ///< of the names in large objects, by the objects' serials
    std::uint32_t serial_ = 0;
    const bool replaces_;
    const std::int8_t detail_;
};

}  // namespace json
