#pragma once

#include "kvcore/Platform.h"

namespace kv {

/// How many bytes of the calling thread's stack are left.
inline std::size_t StackLeft() noexcept {
    ULONG_PTR low = 0;
    ULONG_PTR high = 0;
    GetCurrentThreadStackLimits(&low, &high);
    return reinterpret_cast<ULONG_PTR>(&high) - low;
}

}  // namespace kv
