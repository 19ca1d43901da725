#pragma once

#include "kvcore/Stack.h"
#include "kvcore/Variant.h"

namespace mova {

/// One object or array of values inside another, for the length of writing or reading it.
class GraphDepth {
 public:
    explicit GraphDepth(int& depth) noexcept : depth_(depth) { ++depth_; }
    ~GraphDepth() { --depth_; }
    GraphDepth(const GraphDepth&) = delete;
    GraphDepth& operator=(const GraphDepth&) = delete;

    bool IsTooDeep() const noexcept {
        constexpr std::size_t enoughStack = 192 * 1024;
        return depth_ > kv::maxNesting || (depth_ > 1 && kv::StackLeft() < enoughStack);
    }

 private:
    int& depth_;
};

}  // namespace mova
