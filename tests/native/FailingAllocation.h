#pragma once

#include <cstddef>
#include <cstdint>

namespace mova {

inline std::size_t allocationsGranted = SIZE_MAX;  // which never runs out

/// While one lives, `operator new` grants so many allocations and then throws std::bad_alloc.
struct FailingAllocation {
    explicit FailingAllocation(std::size_t granted) { allocationsGranted = granted; }
    ~FailingAllocation() { allocationsGranted = SIZE_MAX; }
};

}  // namespace mova
