// A mutex that its owner may take again, and the thread-safety attributes that locks need.
#pragma once

#include <atomic>
#include <cstdint>
#include <pthread.h>

// clang's attributes of thread-safety analysis. Empty for other compilers.
#if defined(__clang__)
#define PNI_THREAD_ATTRIBUTE(x) __attribute__((x))
#else
#define PNI_THREAD_ATTRIBUTE(x)
#endif

#define PNI_CAPABILITY(name) PNI_THREAD_ATTRIBUTE(capability(name))
#define PNI_SCOPED_CAPABILITY PNI_THREAD_ATTRIBUTE(scoped_lockable)
#define PNI_GUARDED_BY(lock) PNI_THREAD_ATTRIBUTE(guarded_by(lock))
#define PNI_ACQUIRE(...) PNI_THREAD_ATTRIBUTE(acquire_capability(__VA_ARGS__))
#define PNI_ACQUIRE_SHARED(...) PNI_THREAD_ATTRIBUTE(acquire_shared_capability(__VA_ARGS__))
#define PNI_RELEASE(...) PNI_THREAD_ATTRIBUTE(release_capability(__VA_ARGS__))
#define PNI_RELEASE_SHARED(...) PNI_THREAD_ATTRIBUTE(release_shared_capability(__VA_ARGS__))
#define PNI_REQUIRES(...) PNI_THREAD_ATTRIBUTE(requires_capability(__VA_ARGS__))
#define PNI_UNCHECKED PNI_THREAD_ATTRIBUTE(no_thread_safety_analysis)

namespace em_pni {

// The lock is free when its owner has released it as often as it took it. When the mutex cannot be
// created, taking and releasing do nothing. A release by a thread that does not own the lock does
// nothing.
class PNI_CAPABILITY("mutex") CRecursiveLock {
  public:
    CRecursiveLock() noexcept : valid_(pthread_mutex_init(&mutex_, nullptr) == 0) {}
    // Releases the lock first if the calling thread owns it.
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
    // Relaxed order is enough: a thread reads its own id here only if it stored it itself.
    std::atomic<pthread_t> owner_{0};  // 0 = free
    std::uint32_t count_ = 0;          // only the owner uses it
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
