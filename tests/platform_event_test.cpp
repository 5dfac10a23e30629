#include <array>
#include <atomic>
#include <chrono>
#include <gtest/gtest.h>
#include <pthread.h>
#include <signal.h>
#include <thread>

#include "platform/event.h"
#include "platform/read_write_lock.h"
#include "platform/thread.h"
#include "tests/trace_capture.h"

namespace em_pni::test {
namespace {

using namespace std::chrono_literals;

// Three threads that wait on an event without limit.
class CWaiters {
  public:
    explicit CWaiters(CEvent& event) : event_(event) {
        for (std::thread& thread : threads_) {
            thread = std::thread(
                [this] { released_ += event_.Wait(CEvent::forever) == CEvent::signalled ? 1 : 0; });
        }
        std::this_thread::sleep_for(50ms);
    }
    ~CWaiters() {
        event_.Close();
        for (std::thread& thread : threads_) {
            thread.join();
        }
    }
    // Exactly `expected` threads are released within two seconds.
    void ExpectReleased(int expected) const {
        for (int i = 0; i < 200 && released_ < expected; ++i) {
            std::this_thread::sleep_for(10ms);
        }
        std::this_thread::sleep_for(30ms);
        EXPECT_EQ(released_, expected);
    }
    void SendSignals() {
        for (std::thread& thread : threads_) {
            pthread_kill(thread.native_handle(), SIGUSR1);
        }
    }

  private:
    CEvent& event_;
    std::atomic<int> released_{0};
    std::array<std::thread, 3> threads_;
};

TEST(Event, AutoEventReleasesOneWaiterPerSetAndAllAtTheEnd) {
    CEvent event("", false, false);
    event.Set();
    EXPECT_EQ(event.Wait(0), CEvent::signalled);
    EXPECT_EQ(event.Wait(0), CEvent::timedOut);
    const CWaiters waiters(event);
    event.Set();
    waiters.ExpectReleased(1);
    EXPECT_FALSE(event.Check());
    event.Close();
    waiters.ExpectReleased(3);
}

TEST(Event, ManualEventStaysSignalledUntilReset) {
    struct sigaction action {};
    action.sa_handler = [](int) {};
    ::sigaction(SIGUSR1, &action, nullptr);
    CEvent event("", true, false);
    CWaiters waiters(event);
    for (int i = 0; i < 20; ++i) {
        waiters.SendSignals();
        std::this_thread::sleep_for(2ms);
    }
    waiters.ExpectReleased(0);
    event.Set();
    waiters.ExpectReleased(3);
    EXPECT_EQ(event.Wait(0), CEvent::signalled);
    event.Reset();
    EXPECT_EQ(event.Wait(0), CEvent::timedOut);
}

TEST(Event, PulseReleasesThoseWhoWaitAndNobodyElse) {
    for (const bool isManual : {true, false}) {
        CEvent event("", isManual, false);
        event.Pulse();
        EXPECT_EQ(event.Wait(10), CEvent::timedOut);
        const CWaiters waiters(event);
        event.Pulse();
        waiters.ExpectReleased(isManual ? 3 : 1);
        EXPECT_EQ(event.Wait(10), CEvent::timedOut);
    }
}

TEST(Event, NamesAreSharedAndTheFirstKindStays) {
    const CTraceCapture trace(5);
    {
        CEvent first("shared", false, false);
        CEvent second("shared", true, true);
        EXPECT_TRUE(trace.Has("WARNING: manual setting mismatch for event "));
        EXPECT_FALSE(second.Check());
        second.Set();
        EXPECT_EQ(first.Wait(0), CEvent::signalled);
        EXPECT_EQ(first.Wait(0), CEvent::timedOut);
    }
    EXPECT_EQ(trace.Count("deleting event "), 1);
    EXPECT_TRUE(CEvent("shared", true, true).Check());
}

// A thread procedure and the state that it shares with its test.
struct Work {
    std::atomic<bool> started{false};
    CEvent go{"", true, false};
    std::atomic<bool> done{false};

    static std::uint32_t Procedure(void* argument) {
        auto& work = *static_cast<Work*>(argument);
        work.started = true;
        (void)work.go.Wait(CEvent::forever);
        work.done = true;
        return 7;
    }
};

TEST(Thread, WaitsAreBoundedDestructionJoinsAndARestartIsPossible) {
    const CTraceCapture trace(3);
    Work work;
    {
        CThread thread(&Work::Procedure, &work);
        ASSERT_TRUE(thread.Start(63, false, 0, true, false));
        EXPECT_TRUE(
            trace.Has("CThread::Start: Start a thread, Prio=63, Suspend=0, StackSize=0x00000000, "
                      "Waitable=1, KillAliveThread=0"));
        EXPECT_FALSE(thread.Start(0, false, 0, true, false)) << "the first thread still runs";
        EXPECT_FALSE(thread.WaitForTermination(50));
        EXPECT_TRUE(trace.Has("termination with timeout"));
        EXPECT_TRUE(thread.IsAlive());
        work.go.Set();
        EXPECT_TRUE(thread.WaitForTermination(5000));
        EXPECT_TRUE(work.done);
        EXPECT_FALSE(thread.IsAlive());
        EXPECT_FALSE(thread.WaitForTermination());
        EXPECT_TRUE(trace.Has("CThread::WaitForTermination: Thread = 0x000000000 doesn't exist !"));
        work.done = false;
        ASSERT_TRUE(thread.Start(0, false, 0, true, true));
    }
    EXPECT_TRUE(work.done);
}

TEST(Thread, ADetachedThreadIsCancelledNotJoined) {
    const CTraceCapture trace(3);
    // Never destroyed, because the end of a detached thread cannot be waited for.
    static Work& work = *new Work;
    CThread thread(&Work::Procedure, &work);
    ASSERT_TRUE(thread.Start(0, false, 0, false, false));
    while (!work.started) {
        std::this_thread::yield();
    }
    EXPECT_FALSE(thread.WaitForTermination(10));
    EXPECT_TRUE(trace.Has("Can't wait for detached thread"));
    thread.Kill();
    EXPECT_TRUE(trace.Has("cancel invoked"));
    EXPECT_FALSE(thread.IsAlive());
}

TEST(ReadWriteLock, AWaitingWriterGoesBeforeNewReaders) {
    CReadWriteLock lock;
    std::string order;
    lock.BeginRead();
    std::thread writer([&]() PNI_UNCHECKED {  // takes the lock again
        const CWriteGuard guard(lock);
        { const CReadGuard again(lock); }
        { const CWriteGuard again(lock); }
        order += "writer ";
    });
    std::this_thread::sleep_for(50ms);
    std::thread reader([&] {
        const CReadGuard guard(lock);
        order += "reader ";
    });
    std::this_thread::sleep_for(50ms);
    EXPECT_EQ(order, "");
    lock.EndRead();
    writer.join();
    reader.join();
    EXPECT_EQ(order, "writer reader ");
}

}  // namespace
}  // namespace em_pni::test
