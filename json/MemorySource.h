#pragma once

#include <algorithm>
#include <cstring>
#include <string_view>

#include "json/ChunkedText.h"

namespace json {

/// Bytes in memory, read like a stream.
class MemorySource final : public ByteSource {
 public:
    /// @param failure what reading behind their end fails with; 0 where it does not.
    explicit MemorySource(std::string_view bytes, std::int32_t failure = 0) noexcept
        : left_(bytes), failure_(failure) {}

    std::int32_t Read(std::byte* target, std::size_t size, std::size_t& read) noexcept override {
        read = std::min(size, left_.size());
        if (read == 0) return failure_;
        std::memcpy(target, left_.data(), read);
        left_.remove_prefix(read);
        return 0;
    }

 private:
    std::string_view left_;
    std::int32_t failure_;
};

}  // namespace json
