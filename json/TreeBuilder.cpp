#include "json/TreeBuilder.h"

namespace json {
namespace {

/// How many members are looked through one by one.
constexpr std::size_t longestScanned = 16;

}  // namespace

void TreeBuilder::Begin(bool named) {
    frames_.push_back({slots_.size(), ++serial_, 0, named, nullptr});
}

Value TreeBuilder::End() {
    const Frame& frame = frames_.back();
    Value value = Value::Of(frame.named ? Kind::Object : Kind::Array);
    value.payload.entries = LayDown(frame.start, slots_.size(), frame.named);
    value.tag.detail = detail_;
    slots_.resize(frame.start);
    frames_.pop_back();
    return value;
}

Entries* TreeBuilder::Finish() {
    return LayDown(0, frames_.size() > 1 ? frames_[1].start : slots_.size(), frames_.front().named);
}

Value TreeBuilder::CopyText(std::u16string_view text) {
    if (text.empty()) return Value::Of(Kind::NoText);
    const bool isAscii = IsAscii(text);
    return WriteText(arena_.Take(TextSize(text.size(), isAscii)), text, isAscii);
}

std::size_t TreeBuilder::PlaceOf(Frame& frame) {
    const Name* const name = names_.At(frame.name);
    if (slots_.size() - frame.start <= longestScanned) {
        std::size_t place = frame.start;
        while (place < slots_.size() && slots_[place].name != name) ++place;
        return place;
    }
    if (!frame.places) frame.places = std::make_unique<Places>();
    for (std::size_t place = frame.start + frame.places->size(); place < slots_.size(); ++place)
        frame.places->emplace(slots_[place].name, place);
    const auto found = frame.places->find(name);
    return found == frame.places->end() ? slots_.size() : found->second;
}

bool TreeBuilder::ReplaceFormer(Frame& frame, const Value& value) {
    if (!replaces_) return false;
    Slot& former = slots_[PlaceOf(frame)];
    if (!SameType(former.tag.kind, value.tag.kind)) return false;
    const std::int8_t decimals = former.tag.detail;
    former.payload = value.payload;
    former.tag = value.tag;
    if (value.tag.kind == Kind::Double && value.tag.detail == noDecimals) former.tag.detail = decimals;
    return true;
}

Entries* TreeBuilder::LayDown(std::size_t first, std::size_t last, bool named) {
    const std::size_t count = last - first;
    auto* const entries = ::new (arena_.Take(Entries::Size(count, named)))
        Entries{static_cast<std::uint32_t>(count), static_cast<std::uint32_t>(count)};
    const Slot* const slots = slots_.data() + first;
    for (std::size_t i = 0; i < count; ++i) entries->Payloads()[i] = slots[i].payload;
    if (named)
        for (std::size_t i = 0; i < count; ++i) entries->Names()[i] = NameRef(slots[i].name, false);
    Tag* const tags = entries->Tags(named);
    for (std::size_t i = 0; i < count; ++i) tags[i] = slots[i].tag;
    return entries;
}

}  // namespace json
