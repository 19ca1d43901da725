#pragma once

#include <cstdint>
#include <string_view>

namespace json {

/// A place in a text, in UTF-16 units; a byte-order mark does not count.
struct Position {
    std::uint64_t offset = 0;  ///< from 0
    std::uint64_t line = 0;    ///< from 1; lines end in a line feed, a carriage return, or both
    std::uint64_t column = 0;  ///< from 1
};

/// Counts the lines of a text that goes by.
class LineCounter {
 public:
    std::uint64_t Offset() const noexcept { return offset_; }
    /// Goes over the text that follows.
    void Pass(std::u16string_view text) noexcept;
    Position Here() const noexcept { return {offset_, line_, offset_ - lineStart_ + 1}; }

 private:
    std::uint64_t offset_ = 0;
    std::uint64_t line_ = 1;
    std::uint64_t lineStart_ = 0;
    bool afterReturn_ = false;  ///< the last unit was a carriage return
};

}  // namespace json
