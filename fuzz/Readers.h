// What the fuzz targets of stream readers share: both kinds of reader, and targets that give back what they read.
#pragma once

#include <algorithm>
#include <array>
#include <cstring>
#include <memory>
#include <span>
#include <string_view>
#include <vector>

#include "fuzz/Input.h"
#include "kvcore/ValueFormat.h"

namespace fuzz {

using Bytes = std::span<const std::byte>;

inline Bytes BytesOf(const std::uint8_t* data, std::size_t size) {
    return std::as_bytes(std::span(data, size));
}

inline bool SameBytes(Bytes left, Bytes right) {
    return left.size() == right.size() && (left.empty() || std::memcmp(left.data(), right.data(), left.size()) == 0);
}

/// Reads from a window and so knows what follows.
class WholeReader final : public kv::ByteReader {
 public:
    explicit WholeReader(Bytes bytes) : size_(bytes.size()) {
        auto* const begin = const_cast<std::byte*>(bytes.data());  // reading writes nothing
        whole_ = {begin, begin + size_, begin + size_};
        Use(whole_);
    }
    std::size_t Consumed() const { return size_ - whole_.Readable(); }

 private:
    kv::ByteWindow whole_;
    std::size_t size_;
};

/// Reads as from a stream that cannot tell its size and gives a few bytes at a time.
class PieceReader final : public kv::ByteReader {
 public:
    /// @param pieceLength 1 to 4,096
    PieceReader(Bytes bytes, std::size_t pieceLength) : rest_(bytes), size_(bytes.size()), pieceLength_(pieceLength) {
        Use(piece_);
    }
    std::size_t Consumed() const { return size_ - rest_.size() - piece_.Readable(); }

 private:
    bool ReadBeyond(void* target, std::size_t size) noexcept override {
        auto* to = static_cast<std::byte*>(target);
        while (size != 0) {
            if (piece_.Readable() == 0 && !NextPiece()) return false;
            const std::size_t taken = std::min(size, piece_.Readable());
            piece_.Get(to, taken);
            to += taken;
            size -= taken;
        }
        return true;
    }
    bool NextPiece() noexcept {
        const std::size_t length = std::min(pieceLength_, rest_.size());
        std::copy_n(rest_.begin(), length, buffer_.begin());
        rest_ = rest_.subspan(length);
        piece_ = {buffer_.data(), buffer_.data() + length, buffer_.data() + length};
        return length != 0;
    }

    Bytes rest_;
    std::size_t size_;
    std::size_t pieceLength_;
    std::array<std::byte, 4096> buffer_;
    kv::ByteWindow piece_;
};

/// Writes into memory that grows.
class GrowingWriter final : public kv::ByteWriter {
 public:
    /// @param expected so many bytes
    explicit GrowingWriter(std::size_t expected) {
        Use(none_);
        written_.reserve(expected);
    }
    const std::vector<std::byte>& Written() const { return written_; }
    void Append(std::uint16_t word) { *this << word; }

 private:
    bool WriteBeyond(const void* source, std::size_t size) noexcept override {
        const auto* from = static_cast<const std::byte*>(source);
        written_.insert(written_.end(), from, from + size);
        return true;
    }

    kv::ByteWindow none_;
    std::vector<std::byte> written_;
};

/// A text that knows how much memory was asked for. New units are not set: filling them takes longer than the rest.
class Units {
 public:
    using value_type = char16_t;

    std::size_t size() const { return size_; }
    std::size_t capacity() const { return capacity_; }
    char16_t* data() { return units_.get(); }
    void clear() { size_ = 0; }
    void resize(std::size_t size) {
        if (size > capacity_) {
            capacity_ = std::max(size, 2 * capacity_);
            std::unique_ptr<char16_t[]> larger(new char16_t[capacity_]);
            std::copy_n(units_.get(), size_, larger.get());
            units_ = std::move(larger);
        }
        size_ = size;
    }
    std::u16string_view View() const { return {units_.get(), size_}; }

 private:
    std::unique_ptr<char16_t[]> units_;
    std::size_t size_ = 0;
    std::size_t capacity_ = 0;
};

/// What came of reading values.
struct Echo {
    explicit Echo(Bytes source) : out(source.size()) {}

    GrowingWriter out;        ///< the values as they are written
    std::uint64_t grown = 0;  ///< elements that there was to be memory for
    bool sawObjects = false;  ///< references that are not null
    std::vector<std::byte> bytes;
};

class EchoElements;

/// Takes a value and writes it. An object is no more than its reference.
class EchoValue {
 public:
    EchoValue(Echo& echo, bool isTagged) : echo_(echo), isTagged_(isTagged) {}

    bool Nothing(kv::ValueType type) { return Tag(type, 0); }
    bool Fixed(kv::ValueType type, kv::ByteReader& in, std::size_t size) {
        return Tag(type, 0) && Copy(in, size) && (type != kv::ValueType::decimal || kv::IsDecimal(echo_.bytes.data()));
    }
    bool Text(kv::ByteReader& in, std::uint32_t size) {
        Tag(kv::ValueType::text, 0);
        echo_.out << size;
        return Copy(in, size);
    }
    bool Object(kv::ValueType type, kv::ByteReader& in) {
        Tag(type, 0);
        if (!Copy(in, 16)) return false;
        if (std::all_of(echo_.bytes.begin(), echo_.bytes.end(), [](std::byte b) { return b == std::byte{0}; }))
            return true;
        echo_.sawObjects = true;
        return Copy(in, 4);
    }
    bool NoArray(kv::ValueType type) {
        Tag(type, kv::arrayFlag);
        echo_.out.Append(0);
        return true;
    }
    EchoElements Array(kv::ValueType type, std::span<const kv::ArrayBound> bounds);

 private:
    bool Tag(kv::ValueType type, std::uint16_t flag) {
        if (isTagged_) echo_.out.Append(static_cast<std::uint16_t>(static_cast<std::uint16_t>(type) | flag));
        return true;
    }
    bool Copy(kv::ByteReader& in, std::size_t size) {
        echo_.bytes.clear();
        if (!in.Append(echo_.bytes, size)) return false;
        echo_.out.Write(echo_.bytes.data(), size);
        return true;
    }

    Echo& echo_;
    bool isTagged_;
};

class EchoElements {
 public:
    EchoElements(Echo& echo, kv::ValueType type) : echo_(echo), type_(type) {}

    bool Grow(std::uint32_t count) {
        Require(count > count_, "grows");
        echo_.grown += count - count_;
        count_ = count;
        return true;
    }
    bool Fixed(kv::ByteReader& in, std::uint32_t from, std::uint32_t to) {
        Require(from == taken_ && to == count_, "the elements there is memory for");
        taken_ = to;
        EchoValue element(echo_, false);
        const std::size_t size = kv::ShapeOf(type_).streamSize;
        if (type_ != kv::ValueType::decimal) return element.Fixed(kv::ValueType::ui1, in, (to - from) * size);
        for (; from < to; ++from)
            if (!element.Fixed(type_, in, size)) return false;
        return true;
    }
    EchoValue At(std::uint32_t index) {
        Require(index == taken_++ && index < count_, "an element there is memory for");
        return {echo_, type_ == kv::ValueType::variant};
    }
    bool Finish() {
        Require(taken_ == count_, "all elements came");
        return true;
    }

 private:
    Echo& echo_;
    kv::ValueType type_;
    std::uint32_t count_ = 0;
    std::uint32_t taken_ = 0;
};

inline EchoElements EchoValue::Array(kv::ValueType type, std::span<const kv::ArrayBound> bounds) {
    Tag(type, kv::arrayFlag);
    echo_.out.Append(static_cast<std::uint16_t>(bounds.size()));
    for (const kv::ArrayBound& bound : bounds) echo_.out << bound;
    return {echo_, type};
}

/// Holds the memory taken against the bytes that were there, and so many of them against what was written.
inline void CheckEcho(const Echo& echo, Bytes bytes, std::size_t consumed) {
    Require(echo.grown <= kv::ByteReader::pieceSize + 8 * bytes.size(), "memory for what is there");
    const auto& written = echo.out.Written();
    Require(written.size() >= consumed && SameBytes(Bytes(written).first(consumed), bytes.first(consumed)),
            "what was read writes back");
}

}  // namespace fuzz
