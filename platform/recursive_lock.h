// A mutex made re-entrant by hand: its owner may take it again, and it is free once the owner has
// released it as often as it took it.
#pragma once

#include <atomic>
#include <cstdint>
#include <pthread.h>

#include "platform/thread_annotations.h"

namespace em_pni {

// Taking and releasing do nothing when the mutex could not be created. Releasing is ignored unless
// the caller owns the lock.
class PNI_CAPABILITY("mutex") CRecursiveLock {
  public:
    CRecursiveLock() noexcept : valid_(pthread_mutex_init(&mutex_, nullptr) == 0) {}
    // An owner that destroys the lock releases it by that.
    ~CRecursiveLock() {
        if (valid_) {
            if (owner_.load(std::memory_order_relaxed) == pthread_self()) {
                pthread_mutex_unlock(&mutex_);
            }
            pthread_mutex_destroy(&mutex_);
        }
    }
    CRecursiveLock(const CRecursiveLock&) = delete;
    CRecursiveLock& operator=(const CRecursiveLock&) = delete;

    void Acquire() noexcept PNI_ACQUIRE() PNI_UNCHECKED {
        if (!valid_) {
            return;
        }
        const pthread_t self = pthread_self();
        if (owner_.load(std::memory_order_relaxed) != self) {
            pthread_mutex_lock(&mutex_);
            owner_.store(self, std::memory_order_relaxed);
        }
        ++count_;
    }

    void Release() noexcept PNI_RELEASE() PNI_UNCHECKED {
        if (!valid_ || owner_.load(std::memory_order_relaxed) != pthread_self()) {
            return;
        }
        if (--count_ == 0) {
            owner_.store(0, std::memory_order_relaxed);
            pthread_mutex_unlock(&mutex_);
        }
    }

  private:
    pthread_mutex_t mutex_{};
    // Relaxed is enough: a thread can only read its own id here if it stored it itself.
    std::atomic<pthread_t> owner_{0};  // 0 = free
    std::uint32_t count_ = 0;          // touched by the owner only
    bool valid_;
};

class PNI_SCOPED_CAPABILITY CRecursiveLockGuard {
  public:
    explicit CRecursiveLockGuard(CRecursiveLock& lock) noexcept PNI_ACQUIRE(lock) : lock_(lock) {
        lock_.Acquire();
    }
    ~CRecursiveLockGuard() PNI_RELEASE() { lock_.Release(); }
    CRecursiveLockGuard(const CRecursiveLockGuard&) = delete;
    CRecursiveLockGuard& operator=(const CRecursiveLockGuard&) = delete;

  private:
    CRecursiveLock& lock_;
};

}  // namespace em_pni
