#include "json/Emitter.h"

#include <cmath>
#include <cstring>
#include <new>

#include "kvcore/Utf.h"

namespace json {
namespace {

constexpr std::uint64_t wideIndent = 4096;
/// Of more no text can be made, so that an absurd indent ends before the memory does.
constexpr std::uint64_t mostBytes = std::uint64_t{3} << 30;
constexpr auto mostDecimals = static_cast<std::uint32_t>(kv::mostDecimals);
constexpr std::size_t separatorSize = 4;  // of everything around a name and before a value, on one line
constexpr std::size_t mostUnits = (ByteChain::mostRoom - separatorSize - 2) / kv::escapedUnitSize;

char* PutAscii(char* out, std::string_view text) noexcept {
    std::memcpy(out, text.data(), text.size());
    return out + text.size();
}

/// What stands for a number that JSON does not have.
std::string_view Substitute(double value) noexcept {
    if (std::isnan(value)) return R"("NaN")";
    return value < 0 ? "-1.7976931348623157e308" : "1.7976931348623157e308";
}

}  // namespace

void Emitter::Reset() noexcept {
    open_.Clear();
    isEmpty_ = false;
    isFormatted_ = false;
    indent_ = 2;
}

Refusal Emitter::BeginMember(std::u16string_view name) {
    if (!IsInObject()) return Refusal::Misplaced;
    if (name.empty()) return Refusal::Nameless;
    const std::string_view colon = isFormatted_ ? " : " : ":";
    if (name.size() <= mostUnits) {
        char* out = Separate(kv::escapedUnitSize * name.size() + 2 + colon.size());
        *out++ = '"';
        out = kv::PutEscaped(out, name);
        *out++ = '"';
        bytes_.Append(PutAscii(out, colon));
    } else {
        bytes_.Append(Separate(0));
        Text(name);
        Token(colon);
    }
    isEmpty_ = false;
    return Refusal::None;
}

Refusal Emitter::BeginElement() {
    if (!IsInArray()) return Refusal::Misplaced;
    bytes_.Append(Separate(0));
    isEmpty_ = false;
    return Refusal::None;
}

/// Writes what comes before a value, or its name. @return where the rest may be written, so many bytes
char* Emitter::Separate(std::size_t more) {
    char* out = bytes_.Room(1 + more);
    if (!isEmpty_) *out++ = ',';
    if (!isFormatted_) return out;
    bytes_.Append(out);
    NewLine(open_.Height());
    return bytes_.Room(more);
}

void Emitter::NewLine(std::uint64_t levels) {
    constexpr std::size_t few = 32;
    std::uint64_t blanks = levels * indent_;
    if (blanks > wideIndent && bytes_.Size() + blanks > mostBytes) throw std::bad_alloc();
    char* out = bytes_.Room(1 + few);
    *out++ = '\n';
    std::memset(out, ' ', few);  // of a fixed length, which takes no call
    while (blanks > few) {
        bytes_.Append(out + few);
        blanks -= few;
        out = bytes_.Room(few);
        std::memset(out, ' ', few);
    }
    bytes_.Append(out + blanks);
}

void Emitter::Start(char bracket, bool isArray) {
    char* const out = bytes_.Room(1);
    open_.Push(isArray);
    *out = bracket;
    bytes_.Append(out + 1);
    isEmpty_ = true;
}

Refusal Emitter::End(char bracket, bool isInnermost) {
    if (!isInnermost) return Refusal::Misplaced;
    if (isFormatted_) NewLine(open_.Height() - 1);
    bytes_.Append(bracket);
    open_.Pop();
    isEmpty_ = false;
    return Refusal::None;
}

template <class Put>
void Emitter::Pieces(std::u16string_view text, std::size_t unitSize, Put put) {
    while (!text.empty()) {
        const std::u16string_view piece = kv::TakePiece(text, mostUnits);
        bytes_.Append(put(bytes_.Room(unitSize * piece.size()), piece));
    }
}

void Emitter::Text(std::u16string_view text) {
    if (text.size() <= mostUnits) {
        char* out = bytes_.Room(kv::escapedUnitSize * text.size() + 2);
        *out++ = '"';
        out = kv::PutEscaped(out, text);
        *out++ = '"';
        bytes_.Append(out);
        return;
    }
    bytes_.Append('"');
    Pieces(text, kv::escapedUnitSize, kv::PutEscaped);
    bytes_.Append('"');
}

void Emitter::AsciiText(std::string_view text) {
    bytes_.Append('"');
    while (!text.empty()) {
        const std::string_view piece = text.substr(0, mostUnits);
        text.remove_prefix(piece.size());
        bytes_.Append(kv::PutEscapedAscii(bytes_.Room(kv::escapedUnitSize * piece.size()), piece));
    }
    bytes_.Append('"');
}

void Emitter::Raw(std::u16string_view text) {
    Pieces(text, kv::utf8UnitSize, kv::PutUtf8);
}

void Emitter::Token(std::string_view text) {
    bytes_.Append(PutAscii(bytes_.Room(text.size()), text));
}

void Emitter::Number(double value) {
    if (!std::isfinite(value)) [[unlikely]] {
        Token(Substitute(value));
    } else if (maximumDecimals_ && *maximumDecimals_ <= mostDecimals) {
        Number(value, *maximumDecimals_);
    } else {
        Formatted(value, kv::FormatShortest);
    }
}

void Emitter::Number(double value, std::uint32_t decimals) {
    if (decimals > mostDecimals || !std::isfinite(value)) return Number(value);
    Formatted(value,
              [&](char* out, double number) { return kv::FormatDecimals(out, number, static_cast<int>(decimals)); });
}

void Emitter::Number(float value) {
    if (std::isfinite(value)) {
        Formatted(value, kv::FormatFloat);
    } else {
        Token(Substitute(static_cast<double>(value)));
    }
}

void Emitter::Integer(std::int64_t value) {
    Formatted(value, kv::FormatInt64);
}

void Emitter::Unsigned(std::uint64_t value) {
    Formatted(value, kv::FormatUInt64);
}

}  // namespace json
