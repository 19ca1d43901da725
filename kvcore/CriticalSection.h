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

/// A lock without a destructor, for statics that may be used while the process ends. A thread must not take it twice.
class StaticLock {
 public:
    constexpr StaticLock() noexcept = default;
    StaticLock(const StaticLock&) = delete;
    StaticLock& operator=(const StaticLock&) = delete;

    void Enter() noexcept { AcquireSRWLockExclusive(&lock_); }
    void Leave() noexcept { ReleaseSRWLockExclusive(&lock_); }

 private:
    SRWLOCK lock_ = SRWLOCK_INIT;
};

/// Holds a lock for a scope.
template <class Lock>
class KvAutoLock {
 public:
    explicit KvAutoLock(Lock& lock) noexcept : lock_(lock) { lock_.Enter(); }
    ~KvAutoLock() { lock_.Leave(); }
    KvAutoLock(const KvAutoLock&) = delete;
    KvAutoLock& operator=(const KvAutoLock&) = delete;

 private:
    Lock& lock_;
};

}  // namespace kv
