#include "json/TreeBuilder.h"

namespace json {
namespace {

/// How many members are looked through one by one.
constexpr std::size_t longestScanned = 16;
/// Up to how many units a text takes the memory of a wide one until it is known.
constexpr std::size_t longestGuessed = 256;

}  // namespace

void TreeBuilder::Begin(bool named) {
    frames_.push_back({slots_.Size(), ++serial_, 0, named});
}

Value TreeBuilder::End() {
    const Frame& frame = frames_.back();
    Value value = Value::Of(frame.named ? Kind::Object : Kind::Array, detail_);
    value.payload.entries = LayDown(frame.start, slots_.Size(), frame.named);
    if (!places_.empty()) [[unlikely]]
        places_.erase(frame.serial);
    slots_.CutTo(frame.start);
    frames_.pop_back();
    return value;
}

Entries* TreeBuilder::Finish() {
    if (frames_.empty()) return nullptr;
    return LayDown(0, frames_.size() > 1 ? frames_[1].start : slots_.Size(), frames_.front().named);
}

Value TreeBuilder::CopyText(std::u16string_view text) {
    if (text.empty()) return Value::Of(Kind::NoText);
    if (text.size() > longestGuessed) return WriteText(arena_.Take(TextSize(text.size(), IsAscii(text))), text);
    void* const memory = arena_.Take(TextSize(text.size(), false));
    const Value value = WriteText(memory, text);
    if (value.tag.kind == Kind::AsciiText) arena_.Shorten(memory, TextSize(text.size(), true));
    return value;
}

std::size_t TreeBuilder::PlaceOf(Frame& frame) {
    const Name* const name = names_.At(frame.name);
    if (slots_.Size() - frame.start <= longestScanned) {
        std::size_t place = frame.start;
        while (place < slots_.Size() && slots_[place].name != name) ++place;
        return place;
    }
    Places& places = places_[frame.serial];
    for (std::size_t place = frame.start + places.size(); place < slots_.Size(); ++place)
        places.emplace(slots_[place].name, place);
    const auto found = places.find(name);
    return found == places.end() ? slots_.Size() : found->second;
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
    const Slot* const slots = count == 0 ? nullptr : &slots_[first];
    Payload* const payloads = entries->Payloads();
    Tag* const tags = entries->Tags(named);
    for (std::size_t i = 0; i < count; ++i) {
        payloads[i] = slots[i].payload;
        tags[i] = slots[i].tag;
    }
    if (named)
        for (std::size_t i = 0; i < count; ++i) entries->Names()[i] = NameRef(slots[i].name, false);
    return entries;
}

}  // namespace json
