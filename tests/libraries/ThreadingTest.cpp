#include "contracts/zelKit.h"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <csignal>
#include <fcntl.h>
#include <filesystem>
#include <functional>
#include <gtest/gtest.h>
#include <list>
#include <stdexcept>
#include <string>
#include <thread>
#if defined(_WIN32)
#include "contracts/zelKit/windows/SystemCall.h"
#include <windows.h>
#else
#include <unistd.h>
#endif

namespace
{

using namespace ZKT;
using namespace ZKT::Threading;
using Milliseconds = std::chrono::milliseconds;
using Clock = std::chrono::steady_clock;

/// A thread that runs a function.
struct Runner : CThread
{
    explicit Runner(std::function<void()> body) : m_Body(std::move(body))
    {
        EXPECT_EQ(Create({this, &Runner::Run}, false), RESULT_SUCCESS);
    }
    void Run() { m_Body(); }
    void Cancel() { GetControlBlock()->Cancel(); }
    void Stop()
    {
        Cancel();
        EXPECT_EQ(Wait(Infinite), RESULT_SUCCESS);
    }
    std::function<void()> m_Body;
};

struct TestEvent : CEvent
{
    explicit TestEvent(bool manualReset = false) { Init(false, manualReset); }
    void Set() { GetControlBlock()->Set(); }
    std::uint32_t Wait(std::uint32_t time) { return CWaiter({GetWaitHandle()}).Wait(time, false); }
};

struct TestLock : Native_OS::CFastMutex
{
    TestLock() { Init(); }
};

#if defined(_WIN32)
/// Handles of the process; those of threads are among them.
std::size_t EntriesOf(const char*)
{
    DWORD count = 0;
    GetProcessHandleCount(GetCurrentProcess(), &count);
    return count;
}

/// What a driver does that does not answer: a pipe that nobody comes to.
TEST(Threads, LeaveCallsOfTheSystemWhenTheyAreStopped)
{
    const HANDLE pipe = CreateNamedPipeA("\\\\.\\pipe\\tarnis-test", PIPE_ACCESS_DUPLEX,
                                         PIPE_TYPE_BYTE, 1, 512, 512, 0, nullptr);
    ASSERT_NE(pipe, INVALID_HANDLE_VALUE);
    for (const DWORD time : {0, 20})
    {
        std::atomic<bool> isThere = false;
        std::atomic<DWORD> error = ERROR_SUCCESS;
        Runner runner(
            [&]
            {
                const CInterruptibleCall call;
                isThere = true;
                if (ConnectNamedPipe(pipe, nullptr) == 0)
                    error = GetLastError();
            });
        while (!isThere)
            Sleep(0);
        Sleep(time);
        runner.Stop();
        EXPECT_EQ(error, DWORD{ERROR_OPERATION_ABORTED});
    }
    CloseHandle(pipe);
}
#else
std::size_t EntriesOf(const char* folder)
{
    const std::filesystem::directory_iterator entries(folder);
    return static_cast<std::size_t>(std::distance(begin(entries), end(entries)));
}
#endif

TEST(Lock, GivesItsResults)
{
    TestLock lock;
    TestLock other;
    {
        CSyncGuard guard;
        EXPECT_EQ(lock.Wait(&guard, Infinite), RESULT_SUCCESS);
        EXPECT_EQ(lock.Wait(nullptr, 0), RESULT_TIMEOUT);
        const auto begin = Clock::now();
        EXPECT_EQ(lock.Wait(nullptr, 20), RESULT_TIMEOUT);
        EXPECT_GE(Clock::now() - begin, Milliseconds(20));
        EXPECT_EQ(other.Wait(&guard, 0), RESULT_INVALID) << "the guard would forget one of them";
    }
    EXPECT_EQ(other.Wait(nullptr, 0), RESULT_SUCCESS);
    EXPECT_EQ(lock.Wait(nullptr, 0), RESULT_SUCCESS);
}

TEST(Lock, ExcludesOthersAndOutlivesThoseWhoGiveUp)
{
    TestLock lock;
    int passes = 0; // no atomic: the lock alone guards it
    const auto pass = [&](std::uint32_t time)
    {
        CSyncGuard guard;
        while (lock.Wait(&guard, time) != RESULT_SUCCESS)
            ;
        const int before = passes;
        std::this_thread::yield(); // whoever slips in here makes the sum too small
        passes = before + 1;
    };
    for (int round = 0; round < 200; ++round)
    {
        ASSERT_EQ(lock.Wait(nullptr, Infinite), RESULT_SUCCESS);
        Runner stopped([&] { pass(Infinite); });
        Runner patient([&] { pass(Infinite); });
        Runner impatient([&] { pass(1); });
        stopped.Cancel(); // a lock is waited for all the same
        if (round % 2 != 0)
            std::this_thread::yield();
        lock.Release();
        for (CThread* thread : {&stopped, &patient, &impatient})
            ASSERT_EQ(thread->Wait(Infinite), RESULT_SUCCESS);
    }
    EXPECT_EQ(passes, 600);
}

TEST(Lock, IsGivenInTheOrderOfArrival)
{
    TestLock lock;
    ASSERT_EQ(lock.Wait(nullptr, Infinite), RESULT_SUCCESS);
    std::string order;
    std::list<Runner> runners;
    for (const char name : {'a', 'b', 'c'})
    {
        runners.emplace_back(
            [&, name]
            {
                CSyncGuard guard;
                lock.Wait(&guard, Infinite);
                order += name;
            });
        std::this_thread::sleep_for(Milliseconds(20));
    }
    lock.Release();
    for (Runner& runner : runners)
        runner.Wait(Infinite);
    EXPECT_EQ(order, "abc");
}

TEST(Events, AreReportedAndConsumedByTheRules)
{
    TestEvent first;
    TestEvent second;
    TestEvent lasting(true);
    CWaiter any({first.GetWaitHandle(), second.GetWaitHandle(), lasting.GetWaitHandle()});
    CWaiter all({first.GetWaitHandle(), second.GetWaitHandle(), first.GetWaitHandle()});
    EXPECT_EQ(any.Wait(0, false), RESULT_TIMEOUT);
    second.Set();
    second.Set();
    EXPECT_EQ(any.Wait(Infinite, false), 2U);
    EXPECT_EQ(any.Wait(1, false), RESULT_TIMEOUT) << "two signals before a wait are one";
    second.Set();
    EXPECT_EQ(all.Wait(1, true), RESULT_TIMEOUT) << "and consumes nothing";
    first.Set();
    lasting.Set();
    for (const std::uint32_t position : {1U, 2U, 3U, 3U})
        EXPECT_EQ(any.Wait(0, false), position);
    first.Set();
    second.Set();
    EXPECT_EQ(all.Wait(0, true), 1U);
    EXPECT_EQ(any.Wait(0, false), 3U);
}

TEST(Events, WakeExactlyOneAndTheLastingOnesAll)
{
    TestEvent one;
    TestEvent woken;
    TestEvent stop(true);
    std::atomic<int> ends[3] = {};
    std::list<Runner> runners;
    for (int thread = 0; thread < 8; ++thread)
        runners.emplace_back(
            [&]
            {
                CWaiter waiter({one.GetWaitHandle(), stop.GetWaitHandle()});
                ++ends[waiter.Wait(Infinite, false)];
                woken.Set();
            });
    for (int signal = 0; signal < 3; ++signal)
    {
        one.Set();
        woken.Wait(Infinite);
    }
    stop.Set();
    for (Runner& runner : runners)
        runner.Wait(Infinite);
    EXPECT_EQ(ends[1], 3);
    EXPECT_EQ(ends[2], 5);
}

TEST(Events, ASignalIsNeverLost)
{
    TestEvent there;
    TestEvent back;
    Runner partner(
        [&]
        {
            for (; there.Wait(Infinite) == 1; back.Set())
                ;
        });
    for (int round = 0; round < 2000; ++round)
    {
        there.Set();
        ASSERT_EQ(back.Wait(Infinite), 1U);
    }
    partner.Stop();

    // A thread that is stopped at the very moment either reports the signal or leaves it.
    for (int round = 0; round < 300; ++round)
    {
        TestEvent first;
        TestEvent second;
        std::atomic<bool> reported = false;
        CWaiter waiter({first.GetWaitHandle(), second.GetWaitHandle()});
        Runner runner([&] { reported = waiter.Wait(Infinite, round % 2 == 0) == 1; });
        first.Set();
        if (round % 3 == 0)
            std::this_thread::yield();
        second.Set();
        runner.Stop();
        ASSERT_EQ(first.Wait(0) == 1, !reported);
    }
}

TEST(Intervals, EndOnTimeHoweverOftenAWaitIsBrokenOff)
{
    const auto begin = Clock::now();
    CWaitInterval interval(60);
    TestEvent event;
    Runner disturber(
        [&]
        {
            for (TestEvent pause; !StopRequested(); pause.Wait(1))
                event.Set();
        });
    while (interval != 0)
    {
        ASSERT_LE(interval, 60U);
        event.Wait(interval);
    }
    EXPECT_GE(Clock::now() - begin, Milliseconds(60));
    disturber.Stop();
}

TEST(Threads, GiveTheirResults)
{
    TestEvent go;
    bool blocked = true;
    bool stopped = false;
    bool asked[2] = {true, false};
    Runner runner(
        [&]
        {
#if !defined(_WIN32)
            sigset_t signals;
            pthread_sigmask(SIG_BLOCK, nullptr, &signals);
            blocked = sigismember(&signals, SIGTERM) == 1 && sigismember(&signals, SIGINT) == 1;
#endif
            go.Wait(Infinite);
            asked[0] = StopRequested();
            runner.Cancel(); // by itself
            asked[1] = StopRequested();
            go.Set();
            stopped = go.Wait(Infinite) == RESULT_STOPPED;
            SleepFor(60000);
        });
    EXPECT_EQ(runner.Create({&runner, &Runner::Run}, false), RESULT_INVALID);
    EXPECT_EQ(runner.Wait(0), RESULT_TIMEOUT);
    go.Set();
    EXPECT_EQ(runner.Wait(Infinite), RESULT_SUCCESS);
    EXPECT_TRUE(blocked && stopped && !asked[0] && asked[1] && !StopRequested());
    EXPECT_EQ(go.Wait(0), 1U) << "a stopped wait consumes nothing";
    runner.Cancel();

    testing::internal::CaptureStderr();
    EXPECT_EQ(Runner([] { throw std::runtime_error("no drive"); }).Wait(Infinite), RESULT_SUCCESS);
    EXPECT_EQ(Runner([] { throw 5; }).Wait(Infinite), RESULT_SUCCESS);
    const std::string told = testing::internal::GetCapturedStderr();
    EXPECT_NE(told.find("no drive\n"), std::string::npos);
    EXPECT_EQ(std::count(told.begin(), told.end(), '\n'), 2);
}

TEST(Threads, LeaveNothingBehindAlsoWithoutTheirObject)
{
    std::thread([] {}).join(); // a sanitizer starts a thread of its own beside the first of ours
    const std::size_t threads = EntriesOf("/proc/self/task");
    const std::size_t files = EntriesOf("/proc/self/fd");
    struct Call
    {
        void Run() { never.Wait(Infinite); }
        TestEvent never;
    } call;
    for (int round = 0; round < 1000; ++round)
    {
        CThread thread;
        ASSERT_EQ(thread.Create({&call, &Call::Run}, false), RESULT_SUCCESS);
        thread.GetControlBlock()->Cancel();
        ASSERT_TRUE(round % 2 == 0 || thread.Wait(Infinite) == RESULT_SUCCESS);
    }
    // The kernel strikes a thread off its list a moment after it has ended.
    while (EntriesOf("/proc/self/task") > threads)
        call.never.Wait(1);
    EXPECT_EQ(EntriesOf("/proc/self/fd"), files);
}

#if !defined(_WIN32) // there a pipe cannot take the place of standard error

TEST(Threads, AreNotStoppedInsideATrace)
{
    Language_Support::CLanguageSupport::CLngFile messages("", 0, "", 0, nullptr, 0);
    const Language_Support::CLanguageSupport::ERROR_MSG_LIST errors{};
    const Misc::CModuleInfo module(305, "tarnis", "1", messages, errors);
    int ends[2];
    ASSERT_EQ(pipe(ends), 0);
    fcntl(ends[1], F_SETFL, O_NONBLOCK);
    while (write(ends[1], "....", 4) > 0)
    {
    }
    fcntl(ends[1], F_SETFL, 0);
    const int savedError = dup(STDERR_FILENO);
    dup2(ends[1], STDERR_FILENO);

    TestEvent passed;
    TestEvent never;
    Runner runner(
        [&]
        {
            Internals::CTraceStreamBuffer(2, module, "tests", "Here", 1).Open("the last line");
            passed.Set();
            never.Wait(Infinite);
        });
    runner.Cancel(); // the pipe is full: the line waits
    std::string out;
    for (char byte = 0; !out.ends_with("the last line\n") && read(ends[0], &byte, 1) == 1;)
        out += byte;
    EXPECT_EQ(runner.Wait(Infinite), RESULT_SUCCESS);
    EXPECT_EQ(passed.Wait(0), 1U);
    dup2(savedError, STDERR_FILENO);
    for (const int file : {savedError, ends[0], ends[1]})
        close(file);
}

#endif

} // namespace
