// Reading and writing little-endian values in memory that belongs to somebody else, a stream for instance. The bytes go
// straight to and from a window; only where it ends is a function called that moves it.
#pragma once

#include <algorithm>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <span>
#include <type_traits>
#include <vector>

#include "kvcore/MoveBytes.h"

namespace kv {

static_assert(std::endian::native == std::endian::little, "values are written as they stand in memory");

/// The bytes of a stream from its position on. All null where the stream has none to show.
struct ByteWindow {
    std::byte* position = nullptr;
    std::byte* readEnd = nullptr;   ///< behind the last byte that the stream holds; moved when writing passes it
    std::byte* writeEnd = nullptr;  ///< behind the last byte that there is room for; not before readEnd

    std::size_t Readable() const noexcept { return static_cast<std::size_t>(readEnd - position); }
    std::size_t Room() const noexcept { return static_cast<std::size_t>(writeEnd - position); }
    /// Reads a value of which there are all bytes.
    template <class T>
    void Get(T& value) noexcept {
        std::memcpy(&value, position, sizeof value);
        position += sizeof value;
    }
    /// Writes a value that there is room for.
    template <class T>
    void Put(const T& value) noexcept {
        std::memcpy(position, &value, sizeof value);
        position += sizeof value;
        if (position > readEnd) readEnd = position;
    }
    /// Reads bytes of which there are so many.
    void Get(void* target, std::size_t size) noexcept {
        MoveBytes(target, position, size);
        position += size;
    }
    /// Writes bytes that there is room for.
    void Put(const void* source, std::size_t size) noexcept {
        MoveBytes(position, source, size);
        position += size;
        if (position > readEnd) readEnd = position;
    }
};

/// What is read and written as it stands in memory.
template <class T>
concept PlainValue = std::is_trivially_copyable_v<T> && !std::is_pointer_v<T> && !std::is_same_v<T, bool>;

/// Reads values one after the other. The first failure sticks: whatever is read afterwards stays as it was.
class ByteReader {
 public:
    /// Reads what is in the window, which must outlive it; nothing comes behind its end.
    explicit ByteReader(ByteWindow& window) noexcept : window_(&window) {}
    ByteReader(const ByteReader&) = delete;
    ByteReader& operator=(const ByteReader&) = delete;

    /// @return false where there are fewer bytes, or an earlier read failed.
    bool Read(void* target, std::size_t size) noexcept {
        if (size > window_->Readable()) [[unlikely]]
            return failed_ ? false : ReadBeyond(target, size) || Fail();
        if (failed_) return false;
        window_->Get(target, size);
        return true;
    }
    template <PlainValue T>
    bool Read(T& value) noexcept {
        if (sizeof value <= window_->Readable() && !failed_) [[likely]] {
            window_->Get(value);
            return true;
        }
        T read;
        if (!Read(&read, sizeof read)) return false;
        value = read;
        return true;
    }
    template <PlainValue T>
    ByteReader& operator>>(T& value) noexcept {
        Read(value);
        return *this;
    }

    /// Whether so many bytes are sure to follow. False where the stream cannot tell.
    bool Holds(std::uint64_t size) noexcept { return size <= window_->Readable() || (!failed_ && HoldsBeyond(size)); }
    /// Appends bytes to a container of characters or bytes. Memory is taken for bytes that are sure to follow, or
    /// piece by piece as they come. @throw std::bad_alloc
    template <class Container>
    bool Append(Container& target, std::uint64_t count) {
        constexpr std::uint64_t unit = sizeof(typename Container::value_type);
        const bool sure = count <= pieceSize / unit || (count <= UINT64_MAX / unit && Holds(count * unit));
        while (count != 0) {
            const std::size_t piece = static_cast<std::size_t>(sure ? count : std::min(count, pieceSize / unit));
            const std::size_t before = target.size();
            target.resize(before + piece);
            if (!Read(target.data() + before, piece * unit)) {
                target.resize(before);
                return false;
            }
            count -= piece;
        }
        return !failed_;
    }

    bool Failed() const noexcept { return failed_; }
    /// Makes the reader one that failed. @return false
    bool Fail() noexcept {
        failed_ = true;
        return false;
    }

    /// As much as is taken unasked before the bytes for it have come.
    static constexpr std::uint64_t pieceSize = 64 * 1024;

 protected:
    ByteReader() noexcept = default;
    ~ByteReader() = default;
    void Use(ByteWindow& window) noexcept { window_ = &window; }

    /// Reads where the window holds too little.
    virtual bool ReadBeyond(void*, std::size_t) noexcept { return false; }
    virtual bool HoldsBeyond(std::uint64_t) noexcept { return false; }

    ByteWindow* window_ = nullptr;

 private:
    bool failed_ = false;
};

/// Writes values one after the other. The first failure sticks: nothing is written afterwards.
class ByteWriter {
 public:
    ByteWriter(const ByteWriter&) = delete;
    ByteWriter& operator=(const ByteWriter&) = delete;

    bool Write(const void* source, std::size_t size) noexcept {
        if (failed_ || size > window_->Room()) [[unlikely]]
            return failed_ ? false : WriteBeyond(source, size) || Fail();
        window_->Put(source, size);
        return true;
    }
    template <PlainValue T>
    ByteWriter& operator<<(const T& value) noexcept {
        if (sizeof value <= window_->Room() && !failed_) [[likely]] {
            window_->Put(value);
        } else {
            Write(&value, sizeof value);
        }
        return *this;
    }

    bool Failed() const noexcept { return failed_; }
    /// Makes the writer one that failed. @return false
    bool Fail() noexcept {
        failed_ = true;
        return false;
    }

 protected:
    ByteWriter() noexcept = default;
    ~ByteWriter() = default;
    void Use(ByteWindow& window) noexcept { window_ = &window; }

    /// Writes where the window has too little room.
    virtual bool WriteBeyond(const void* source, std::size_t size) noexcept = 0;

    ByteWindow* window_ = nullptr;

 private:
    bool failed_ = false;
};

}  // namespace kv
