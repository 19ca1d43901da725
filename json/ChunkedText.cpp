#include "json/ChunkedText.h"

#include <cstring>

#include "json/Space.h"
#include "kvcore/Utf8.h"

namespace json {
namespace {

constexpr std::size_t mediumChunk = 256 * 1024;
constexpr std::size_t largeChunk = 4 * 1024 * 1024;
constexpr std::uint64_t largeStream = 10 * 1024 * 1024;  ///< beyond this length large chunks are read
/// What can be kept back of a chunk: less than a character, or all of one.
constexpr std::size_t keptBack = 6;

std::size_t ChunkFor(std::optional<std::uint64_t> size) noexcept {
    if (!size) return mediumChunk;
    if (*size < mediumChunk) return static_cast<std::size_t>(*size) + 1;  // so that the first read shows the end
    return *size <= largeStream ? mediumChunk : largeChunk;
}

/// How many bytes at the end belong to the last character, where that is not ASCII.
std::size_t LastCharacter(std::span<const std::byte> bytes) noexcept {
    constexpr std::size_t longest = 4;
    for (std::size_t length = 1; length <= longest && length <= bytes.size(); ++length) {
        const auto byte = std::to_integer<unsigned>(bytes[bytes.size() - length]);
        if (byte < 0x80) break;
        if (byte >= 0xC0) return length;
    }
    return 0;
}

}  // namespace

std::optional<Detected> DetectEncoding(std::span<const std::byte> bytes) noexcept {
    const auto byteAt = [&](std::size_t at) {
        return at < bytes.size() ? std::to_integer<char16_t>(bytes[at]) : char16_t{0x100};  // which no byte is
    };
    const char16_t first = byteAt(0);
    const char16_t second = byteAt(1);
    if (first == 0xEF && second == 0xBB && byteAt(2) == 0xBF) return Detected{Encoding::Utf8, 3};
    if (first == 0xFF && second == 0xFE) return Detected{Encoding::Utf16, 2};
    const auto isAsciiSpace = [](char16_t byte) { return byte < 0x80 && IsSpace(byte); };
    const bool isPair = bytes.size() >= 2;
    if (isPair && !(isAsciiSpace(first) && isAsciiSpace(second)) && IsSpace(static_cast<char16_t>(first | second << 8)))
        return Detected{Encoding::Utf16, 0};
    if (isAsciiSpace(first)) return Detected{Encoding::Utf8, 0};
    if (first == u'{' || first == u'[') return Detected{second == 0 ? Encoding::Utf16 : Encoding::Utf8, 0};
    return {};
}

void ChunkedText::Open(ByteSource& source, std::optional<std::uint64_t> size) noexcept {
    Close();
    source_ = &source;
    chunk_ = ChunkFor(size);
    if (size) textLimit_ = static_cast<std::size_t>(*size);
}

void ChunkedText::Close() noexcept {
    if (bytes_) GiveTextMemory(bytes_, capacity_);
    bytes_ = nullptr;
    capacity_ = held_ = decoded_ = 0;
    source_ = nullptr;
    encoding_.reset();
    textLimit_ = std::numeric_limits<std::size_t>::max();
}

Failure ChunkedText::Append(TextBuffer& text, bool& isLast) {
    if (!bytes_) {
        std::size_t capacity = chunk_ + keptBack;
        bytes_ = static_cast<std::byte*>(TakeTextMemory(capacity));
        capacity_ = capacity;
    }
    const bool isFirst = !encoding_;
    for (const std::size_t before = text.Size(); text.Size() == before && !isLast;) {
        held_ -= decoded_;
        std::memmove(bytes_, bytes_ + decoded_, held_);
        decoded_ = 0;
        std::size_t read = 0;
        if (const std::int32_t code = source_->Read(bytes_ + held_, chunk_, read); code != 0)
            return {Fault::SourceFailed, code};
        isLast = read < chunk_;
        held_ += read;
        if (!encoding_) {
            if (held_ == 0) return {Fault::EmptyInput};
            const auto detected = DetectEncoding({bytes_, held_});
            if (!detected) return {Fault::UnknownEncoding};
            encoding_ = detected->encoding;
            decoded_ = detected->mark;
        }
        if (*encoding_ == Encoding::Utf16) {
            DecodeUtf16(text);
        } else if (!DecodeAsUtf8(text, isLast)) {
            return {Fault::BadUtf8};
        }
        if (isFirst && isLast && text.Size() == before)
            return {*encoding_ == Encoding::Utf8 ? Fault::BadUtf8 : Fault::NoCharacter};
    }
    return {};
}

/// An odd byte is kept for the next chunk; there is nothing that it could mean at the end.
void ChunkedText::DecodeUtf16(TextBuffer& text) {
    const std::size_t units = (held_ - decoded_) / sizeof(char16_t);
    std::memcpy(text.Room(units, textLimit_), bytes_ + decoded_, units * sizeof(char16_t));
    text.Add(units);
    decoded_ += units * sizeof(char16_t);
}

bool ChunkedText::DecodeAsUtf8(TextBuffer& text, bool isLast) {
    std::span<const std::byte> bytes(bytes_ + decoded_, held_ - decoded_);
    if (!isLast) bytes = bytes.first(bytes.size() - LastCharacter(bytes));
    const auto units = kv::DecodeUtf8(bytes, text.Room(bytes.size(), textLimit_));
    if (!units) return false;
    text.Add(*units);
    decoded_ += bytes.size();
    return true;
}

}  // namespace json
