#include "json/Value.h"

#include <algorithm>
#include <new>

#include "kvcore/BlockPool.h"

namespace json {
namespace {

Kind TypeOf(Kind kind) noexcept {
    switch (kind) {
        case Kind::NoText:
        case Kind::WideText:
            return Kind::AsciiText;
        case Kind::Array:
        case Kind::Held:
            return Kind::Object;
        default:
            return kind;
    }
}

}  // namespace

bool SameType(Kind left, Kind right) noexcept {
    return TypeOf(left) == TypeOf(right);
}

bool IsAscii(std::u16string_view text) noexcept {
    char16_t seen = 0;
    for (const char16_t unit : text) seen |= unit;
    return seen < 0x80;
}

void Widen(std::string_view ascii, char16_t* units) noexcept {
    for (std::size_t i = 0; i < ascii.size(); ++i) units[i] = static_cast<unsigned char>(ascii[i]);
}

Value WriteText(void* memory, std::u16string_view text, bool isAscii) noexcept {
    auto* const written = ::new (memory) Text{static_cast<std::uint32_t>(text.size())};
    if (isAscii) {
        auto* const bytes = reinterpret_cast<char*>(written + 1);
        for (std::size_t i = 0; i < text.size(); ++i) bytes[i] = static_cast<char>(text[i]);
    } else {
        std::memcpy(written + 1, text.data(), text.size() * sizeof(char16_t));
    }
    Value value = Value::Of(isAscii ? Kind::AsciiText : Kind::WideText);
    value.payload.text = written;
    value.tag.detail = 0;
    return value;
}

Value MakeText(std::u16string_view text) {
    if (text.size() > UINT32_MAX) throw std::bad_alloc();
    const bool isAscii = IsAscii(text);
    void* const memory = kv::TakeBlock(TextSize(text.size(), isAscii));
    if (!memory) throw std::bad_alloc();
    Value value = WriteText(memory, text, isAscii);
    value.tag.detail = ownText;
    return value;
}

void FreeText(const Value& value) noexcept {
    const bool isAscii = value.tag.kind == Kind::AsciiText;
    if ((!isAscii && value.tag.kind != Kind::WideText) || value.tag.detail != ownText) return;
    const Text* const text = value.payload.text;
    kv::GiveBlock(const_cast<Text*>(text), TextSize(text->length, isAscii));
}

}  // namespace json
