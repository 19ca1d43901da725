#pragma once

#include <cstddef>
#include <cstdint>
#include <limits>
#include <optional>
#include <span>

#include "json/Scanner.h"

namespace json {

/// Where bytes come from.
class ByteSource {
 public:
    /// Reads bytes. @param read receives how many; fewer than asked for at the end only.
    /// @return 0; else what it failed with, which is handed through unread
    virtual std::int32_t Read(std::byte* target, std::size_t size, std::size_t& read) noexcept = 0;

 protected:
    ~ByteSource() = default;
};

enum class Encoding : std::uint8_t { Utf16, Utf8 };  // UTF-16 has the low byte first
struct Detected {
    Encoding encoding;
    std::size_t mark;  ///< the length of the byte-order mark
};
/// The encoding of a JSON text, by a byte-order mark or by white space, a brace or a bracket that it begins with.
std::optional<Detected> DetectEncoding(std::span<const std::byte> bytes) noexcept;

/// Reads bytes in chunks and decodes them as they come. However long the text is, no more than a chunk is kept.
class ChunkedText final : public TextSource {
 public:
    ChunkedText() noexcept = default;
    ChunkedText(const ChunkedText&) = delete;
    ChunkedText& operator=(const ChunkedText&) = delete;
    ~ChunkedText() { Close(); }

    /// Begins with another source, which outlives the reading.
    /// @param size how many bytes it says it has; nothing where it cannot tell. It is believed for choosing the length
    ///     of a chunk only.
    void Open(ByteSource& source, std::optional<std::uint64_t> size) noexcept;
    void Close() noexcept;

    /// The first time the encoding is detected. UnknownEncoding, BadUtf8, EmptyInput where not even one byte comes,
    /// NoCharacter where there is nothing behind the mark of UTF-16, SourceFailed.
    Failure Append(TextBuffer& text, bool& isLast) override;

 private:
    void DecodeUtf16(TextBuffer& text);
    /// @return false where the bytes are no UTF-8
    bool DecodeAsUtf8(TextBuffer& text, bool isLast);

    ByteSource* source_ = nullptr;
    std::size_t chunk_ = 0;
    std::size_t textLimit_ = std::numeric_limits<std::size_t>::max();  ///< longer the text should not become
    std::optional<Encoding> encoding_;                                 ///< as soon as it is known

    std::byte* bytes_ = nullptr;
    std::size_t capacity_ = 0;
    std::size_t held_ = 0;     ///< bytes that were read
    std::size_t decoded_ = 0;  ///< those of them that are decoded
};

}  // namespace json
