#pragma once

#include <algorithm>
#include <cstring>

#include "xml/PullParser.h"

namespace xml {

/// A document in memory, handed out in pieces.
class PiecewiseSource final : public ByteSource {
 public:
    explicit PiecewiseSource(std::string_view document, std::size_t piece = SIZE_MAX)
        : rest_(document), piece_(piece) {}
    std::size_t Read(std::span<std::byte> target) override {
        const std::size_t size = std::min({target.size(), rest_.size(), piece_});
        std::memcpy(target.data(), rest_.data(), size);
        rest_.remove_prefix(size);
        return size;
    }

 private:
    std::string_view rest_;
    std::size_t piece_;
};

}  // namespace xml
