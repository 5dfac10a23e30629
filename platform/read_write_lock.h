// A lock for many readers or one writer. New readers wait for a waiting writer.
#pragma once

#include <new>

#include "platform/event.h"
#include "platform/recursive_lock.h"
#include "platform/trace.h"

namespace em_pni {

// The thread that writes may begin reads and further writes. A thread that reads must end its read
// before it begins a write or another read: otherwise it waits for ever, for itself or for a writer
// that waits for it.
// Order of the locks: first the write mutex, then the reader-count mutex.
class PNI_CAPABILITY("shared_mutex") CReadWriteLock {
  public:
    // Throws std::bad_alloc without memory for the event, because writers would not wait for
    // readers then.
    CReadWriteLock() {
        if (!noReaders_.IsValid()) {
            throw std::bad_alloc();
        }
    }

    void BeginRead() noexcept PNI_ACQUIRE_SHARED() PNI_UNCHECKED {
        PNI_TRACE(6, "\nCReadWriteLock      : Waiting for write lock...");
        writeMutex_.Acquire();
        PNI_TRACE(6, "\nCReadWriteLock      : ...got write lock");
        ChangeReaderCount(+1);
        writeMutex_.Release();
        PNI_TRACE(6, "\nCReadWriteLock      : Released write lock!");
    }

    void EndRead() noexcept PNI_RELEASE_SHARED() PNI_UNCHECKED { ChangeReaderCount(-1); }

    void BeginWrite() noexcept PNI_ACQUIRE() PNI_UNCHECKED {
        PNI_TRACE(6, "\nCReadWriteLock      : Waiting for write lock access...");
        writeMutex_.Acquire();
        PNI_TRACE(6, "\nCReadWriteLock      : ...got write lock");
        PNI_TRACE(6,
                  "\nCReadWriteLock      : Waiting for completion of pending read operations...");
        while (noReaders_.Wait(CEvent::forever) > 0) {
            // The wait failed. Try again: nobody may write while another thread reads.
        }
        PNI_TRACE(6, "\nCReadWriteLock      : ... pending read operations were finished");
    }

    void EndWrite() noexcept PNI_RELEASE() PNI_UNCHECKED {
        writeMutex_.Release();
        PNI_TRACE(6, "\nCReadWriteLock      : Released owned write lock!");
    }

  private:
    void ChangeReaderCount(int by) noexcept PNI_UNCHECKED {
        PNI_TRACE(6, "\nCReadWriteLock      : Waiting for reader count lock...");
        readerCountMutex_.Acquire();
        PNI_TRACE(6, "\nCReadWriteLock      : ...got reader count lock");
        readerCount_ += by;
        if (readerCount_ == 0) {
            noReaders_.Set();
        } else if (by > 0 && readerCount_ == 1) {
            noReaders_.Reset();
        }
        PNI_TRACE(6, "\nCReadWriteLock      : Readder count changed to %d", readerCount_);
        readerCountMutex_.Release();
        PNI_TRACE(6, "\nCReadWriteLock      : Released reader count lock!");
    }

    CRecursiveLock writeMutex_;
    CRecursiveLock readerCountMutex_;
    CEvent noReaders_{"", true, true};  // signalled while no thread reads
    int readerCount_ = 0;               // guarded by readerCountMutex_
};

class PNI_SCOPED_CAPABILITY CReadGuard {
  public:
    explicit CReadGuard(CReadWriteLock& lock) noexcept PNI_ACQUIRE_SHARED(lock) : lock_(lock) {
        lock_.BeginRead();
    }
    ~CReadGuard() PNI_RELEASE() { lock_.EndRead(); }
    CReadGuard(const CReadGuard&) = delete;
    CReadGuard& operator=(const CReadGuard&) = delete;

  private:
    CReadWriteLock& lock_;
};

class PNI_SCOPED_CAPABILITY CWriteGuard {
  public:
    explicit CWriteGuard(CReadWriteLock& lock) noexcept PNI_ACQUIRE(lock) : lock_(&lock) {
        lock_->BeginWrite();
    }
    ~CWriteGuard() PNI_RELEASE() PNI_UNCHECKED {
        if (lock_ != nullptr) {
            lock_->EndWrite();
        }
    }
    CWriteGuard(const CWriteGuard&) = delete;
    CWriteGuard& operator=(const CWriteGuard&) = delete;

    // The guard no longer releases the lock. The calling thread must call EndWrite.
    void LeaveLocked() noexcept { lock_ = nullptr; }

  private:
    CReadWriteLock* lock_;
};

}  // namespace em_pni
