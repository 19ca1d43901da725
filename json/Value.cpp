#include "json/Value.h"

#include <emmintrin.h>

#include <new>

#include "kvcore/BlockPool.h"
#include "kvcore/MoveBytes.h"

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

// Eight units in the lanes of a vector.
constexpr std::ptrdiff_t lanes = 8;

__m128i Load(const void* memory) noexcept {
    return _mm_loadu_si128(static_cast<const __m128i*>(memory));
}

void Store(void* memory, __m128i block) noexcept {
    _mm_storeu_si128(static_cast<__m128i*>(memory), block);
}

bool HasOnlyAscii(__m128i units) noexcept {
    const __m128i beyond = _mm_and_si128(units, _mm_set1_epi16(static_cast<short>(0xFF80)));
    return _mm_movemask_epi8(_mm_cmpeq_epi8(beyond, _mm_setzero_si128())) == 0xFFFF;
}

/// Makes a byte of each unit. @return whether all were ASCII; otherwise the bytes mean nothing
bool Narrow(std::u16string_view text, char* bytes) noexcept {
    const char16_t* units = text.data();
    const char16_t* const end = units + text.size();
    if (end - units < lanes) {
        char16_t seen = 0;
        for (; units != end; ++units) {
            seen |= *units;
            *bytes++ = static_cast<char>(*units);
        }
        return seen < 0x80;
    }
    __m128i seen = _mm_setzero_si128();
    const auto narrowEight = [&seen](const char16_t* from, char* to) {
        const __m128i block = Load(from);
        seen = _mm_or_si128(seen, block);
        _mm_storel_epi64(reinterpret_cast<__m128i*>(to), _mm_packus_epi16(block, block));
    };
    char* const lastBytes = bytes + text.size() - lanes;
    for (; end - units > lanes; units += lanes, bytes += lanes) narrowEight(units, bytes);
    narrowEight(end - lanes, lastBytes);  // some of them once more, rather than one by one
    return HasOnlyAscii(seen);
}

}  // namespace

bool SameType(Kind left, Kind right) noexcept {
    return TypeOf(left) == TypeOf(right);
}

bool IsAscii(std::u16string_view text) noexcept {
    const char16_t* units = text.data();
    const char16_t* const end = units + text.size();
    __m128i seen = _mm_setzero_si128();
    for (; end - units >= lanes; units += lanes) seen = _mm_or_si128(seen, Load(units));
    char16_t rest = 0;
    for (; units != end; ++units) rest |= *units;
    return rest < 0x80 && HasOnlyAscii(seen);
}

void Widen(std::string_view ascii, char16_t* units) noexcept {
    const char* bytes = ascii.data();
    const char* const end = bytes + ascii.size();
    for (; end - bytes >= 2 * lanes; bytes += 2 * lanes, units += 2 * lanes) {
        const __m128i block = Load(bytes);
        Store(units, _mm_unpacklo_epi8(block, _mm_setzero_si128()));
        Store(units + lanes, _mm_unpackhi_epi8(block, _mm_setzero_si128()));
    }
    while (bytes != end) *units++ = static_cast<unsigned char>(*bytes++);
}

Value WriteText(void* memory, std::u16string_view text) noexcept {
    auto* const written = ::new (memory) Text{static_cast<std::uint32_t>(text.size())};
    const bool isAscii = Narrow(text, reinterpret_cast<char*>(written + 1));
    if (!isAscii) kv::MoveBytes(written + 1, text.data(), text.size() * sizeof(char16_t));
    Value value = Value::Of(isAscii ? Kind::AsciiText : Kind::WideText, 0);
    value.payload.text = written;
    return value;
}

Value MakeText(std::u16string_view text) {
    if (text.size() > UINT32_MAX) throw std::bad_alloc();
    void* const memory = kv::TakeBlock(TextSize(text.size(), IsAscii(text)));
    if (!memory) throw std::bad_alloc();
    Value value = WriteText(memory, text);
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
