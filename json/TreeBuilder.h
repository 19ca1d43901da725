#pragma once

#include <memory>
#include <unordered_map>
#include <vector>

#include "json/NamePool.h"

namespace json {

/// Puts the values of a document together as they come, from the outermost object or array inwards, and lays each
/// container that is complete into the arena.
class TreeBuilder {
 public:
    /// @param replaces whether a name that comes again replaces a value of the same type instead of being refused.
    /// @param detail the tags of the objects and arrays within carry it.
    TreeBuilder(Arena& arena, NameHash hash, bool replaces, std::int8_t detail)
        : arena_(arena), names_(hash, arena), replaces_(replaces), detail_(detail) {}

    /// Begins an object or array within the innermost one that is open.
    void Begin(bool named);
    /// Completes the innermost container, which is not the outermost, and answers it as a value.
    Value End();
    /// What the outermost container holds so far. Nothing can be added afterwards.
    Entries* Finish();

    bool InObject() const noexcept { return frames_.back().named; }
    std::size_t OpenCount() const noexcept { return frames_.size(); }

    /// Names the next value of the innermost object.
    void SetName(std::u16string_view name) { frames_.back().name = names_.Find(name); }
    /// Adds a value to the innermost container. @return false where its name is there already and is not replaced
    bool Add(const Value& value) {
        Frame& frame = frames_.back();
        if (frame.named && !IsNew(frame)) return ReplaceFormer(frame, value);
        slots_.push_back({value.payload, frame.named ? names_.At(frame.name) : nullptr, value.tag});
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
        std::unique_ptr<Places> places;  ///< of the names, once they are many
    };

    bool IsNew(Frame& frame) {
        std::uint32_t& user = names_.LastUser(frame.name);
        // Between two names of an object only objects within it have taken names, and these began after it.
        const bool isNew = user < frame.serial || (user > frame.serial && PlaceOf(frame) == slots_.size());
        user = frame.serial;
        return isNew;
    }
    /// Where the innermost object has its value of the pending name; slots_.size() where it has none.
    std::size_t PlaceOf(Frame& frame);
    bool ReplaceFormer(Frame& frame, const Value& value);
    Entries* LayDown(std::size_t first, std::size_t last, bool named);

    Arena& arena_;
    NamePool names_;
    std::vector<Slot> slots_;  ///< of all open containers, the outermost first
    std::vector<Frame> frames_;
    std::uint32_t serial_ = 0;
    const bool replaces_;
    const std::int8_t detail_;
};

}  // namespace json
