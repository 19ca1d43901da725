// Status codes of what the platform and other objects answer.
#pragma once

#include <new>

#include "kvcore/Platform.h"

namespace kv {

/// Whether a call succeeded. @throw std::bad_alloc where it was memory that lacked
inline bool Succeeded(HRESULT status) {
    if (status == E_OUTOFMEMORY) throw std::bad_alloc();
    return SUCCEEDED(status);
}

}  // namespace kv
