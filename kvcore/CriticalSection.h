#pragma once

#include "kvcore/Platform.h"

namespace kv {

/// A lock that one thread may take again while it holds it.
class KvCriticalSection {
 public:
    KvCriticalSection() noexcept { InitializeCriticalSection(&section_); }
    ~KvCriticalSection() { DeleteCriticalSection(&section_); }
    KvCriticalSection(const KvCriticalSection&) = delete;
    KvCriticalSection& operator=(const KvCriticalSection&) = delete;

    void Enter() noexcept { EnterCriticalSection(&section_); }
    void Leave() noexcept { LeaveCriticalSection(&section_); }

 private:
    CRITICAL_SECTION section_;
};

/// Holds a critical section for a scope.
class KvAutoLock {
 public:
    explicit KvAutoLock(KvCriticalSection& section) noexcept : section_(section) { section_.Enter(); }
    ~KvAutoLock() { section_.Leave(); }
    KvAutoLock(const KvAutoLock&) = delete;
    KvAutoLock& operator=(const KvAutoLock&) = delete;

 private:
    KvCriticalSection& section_;
};

}  // namespace kv
