#include "libraries/zelKit/windows/SystemThread.h"

#include "contracts/zelKit/windows/Cancellation.h"
#include "libraries/zelKit/System.h"

#include <algorithm>
#include <atomic>
#include <limits>
#include <new>
#include <system_error>
#include <utility>
#include <vector>

#include <windows.h>

namespace ZKT
{
namespace Internals
{

/// What a thread and those who cancel it have in common.
struct Cancellation
{
    EventHandle requested;
    std::atomic<bool> isRequested = false;
    std::atomic<bool> isInCall = false;
    std::atomic<HANDLE> thread = nullptr; ///< good while the thread runs
};

namespace
{

thread_local Cancellation* t_Own = nullptr; // null in threads that are not ours
thread_local bool t_IsShielded = false;

DWORD MillisecondsUntil(SteadyTime moment)
{
    if (moment == SteadyTime::max())
        return INFINITE;
    const auto left =
        std::chrono::ceil<std::chrono::milliseconds>(moment - std::chrono::steady_clock::now());
    constexpr std::int64_t longest = INFINITE - 1;
    return static_cast<DWORD>(std::clamp<std::int64_t>(left.count(), 0, longest));
}

/// Waits for an event, or with none for the time alone, and for the cancellation of this thread.
void WaitFor(HANDLE event, DWORD milliseconds)
{
    HANDLE handles[2] = {};
    DWORD count = 0;
    if (event != nullptr)
        handles[count++] = event;
    if (t_Own != nullptr && !t_IsShielded)
        handles[count++] = t_Own->requested.Get();
    if (count == 0)
        ::Sleep(milliseconds);
    else
        WaitForMultipleObjects(count, handles, FALSE, milliseconds);
}

/// The events that nobody sleeps by now. There are never more than threads that slept at once, and
/// they are those of no thread: one that the host ends by force leaves nothing to be cleaned up.
class SpareEvents
{
  public:
    SpareEvents() = default;
    ~SpareEvents()
    {
        for (const HANDLE event : m_Events)
            CloseHandle(event);
    }
    SpareEvents(const SpareEvents&) = delete;
    SpareEvents& operator=(const SpareEvents&) = delete;

    /// Null when the system has none.
    HANDLE Take()
    {
        const std::lock_guard lock(m_Mutex);
        if (m_Events.empty())
            return CreateEventW(nullptr, FALSE, FALSE, nullptr);
        const HANDLE event = m_Events.back();
        m_Events.pop_back();
        return event;
    }

    void GiveBack(HANDLE event)
    {
        if (event == nullptr)
            return;
        // A thread may have been woken when its time had run out already.
        ResetEvent(event);
        const std::lock_guard lock(m_Mutex);
        try
        {
            m_Events.push_back(event);
        }
        catch (const std::bad_alloc&)
        {
            CloseHandle(event);
        }
    }

  private:
    std::mutex m_Mutex;
    std::vector<HANDLE> m_Events;
};

SpareEvents spareEvents;

/// Makes this thread one that can be cancelled, for as long as it lives.
class Cancellable
{
  public:
    explicit Cancellable(Cancellation& own)
    {
        HANDLE self = nullptr;
        DuplicateHandle(GetCurrentProcess(), GetCurrentThread(), GetCurrentProcess(), &self, 0,
                        FALSE, DUPLICATE_SAME_ACCESS);
        own.thread = self;
        t_Own = &own;
    }
    ~Cancellable()
    {
        // Who cancels holds the thread's lock, under which its end is marked: nobody uses the
        // handle any more.
        CloseHandle(t_Own->thread.exchange(nullptr));
        t_Own = nullptr;
    }
    Cancellable(const Cancellable&) = delete;
    Cancellable& operator=(const Cancellable&) = delete;
};

/// Marks that the thread is inside a call that may be broken off.
class CallMark
{
  public:
    explicit CallMark(Cancellation& own) : m_Own(own) { m_Own.isInCall = true; }
    ~CallMark() { m_Own.isInCall = false; }
    CallMark(const CallMark&) = delete;
    CallMark& operator=(const CallMark&) = delete;

  private:
    Cancellation& m_Own;
};

} // namespace

EventHandle::EventHandle() : m_Handle(CreateEventW(nullptr, TRUE, FALSE, nullptr))
{
    if (m_Handle == nullptr)
        throw std::system_error(static_cast<int>(GetLastError()), std::system_category());
}

EventHandle::~EventHandle()
{
    CloseHandle(m_Handle);
}

void EventHandle::Set() const
{
    SetEvent(m_Handle);
}

void SleepingPlace::Wake()
{
    if (m_Event != nullptr)
        SetEvent(m_Event);
}

void SleepingPlace::Sleep(std::unique_lock<std::mutex>& lock, SteadyTime until)
{
    // Without an event, whoever sleeps looks again after a moment.
    constexpr DWORD moment = 10;
    m_Event = spareEvents.Take();
    const DWORD longest = m_Event != nullptr ? INFINITE : moment;
    const HANDLE event = m_Event;
    lock.unlock();
    WaitFor(event, std::min(MillisecondsUntil(until), longest));
    lock.lock();
    // From here on nobody sets it, and what set it is taken back.
    spareEvents.GiveBack(std::exchange(m_Event, nullptr));
    PassCancellation();
}

void SystemThread::Start(std::function<void()> body)
{
    m_Cancellation = std::make_shared<Cancellation>();
    m_Thread = std::thread(
        [own = m_Cancellation, body = std::move(body)]
        {
            const Cancellable cancellable(*own);
            try
            {
                body();
            }
            catch (const ThreadCancelled&)
            {
            }
        });
}

void SystemThread::Cancel()
{
    m_Cancellation->isRequested = true;
    m_Cancellation->requested.Set();
    // A call that is marked and not begun has nothing to be broken off yet, and some wait for more
    // than one thing: it is tried again for a moment. A driver that does not let go is not waited
    // for.
    constexpr int attempts = 50;
    for (int attempt = 0; attempt < attempts && m_Cancellation->isInCall; ++attempt)
    {
        CancelSynchronousIo(m_Cancellation->thread);
        ::Sleep(1);
    }
}

void PassCancellation()
{
    if (t_Own != nullptr && !t_IsShielded && t_Own->isRequested)
    {
        // Unwinding is not to be cancelled once more.
        t_IsShielded = true;
        throw ThreadCancelled();
    }
}

int ShieldThread()
{
    return std::exchange(t_IsShielded, true) ? 1 : 0;
}

void UnshieldThread(int before)
{
    t_IsShielded = before != 0;
}

} // namespace Internals

namespace Threading
{

void CancellationPoint()
{
    Internals::PassCancellation();
}

void SleepFor(std::uint32_t milliseconds)
{
    Internals::PassCancellation();
    Internals::WaitFor(nullptr, milliseconds);
    Internals::PassCancellation();
}

void RunCancellable(const std::function<void()>& call)
{
    if (Internals::t_Own == nullptr || Internals::t_IsShielded)
        return call();
    {
        const Internals::CallMark mark(*Internals::t_Own);
        Internals::PassCancellation();
        call();
    }
    Internals::PassCancellation();
}

bool SetCancellable(bool cancellable)
{
    return !std::exchange(Internals::t_IsShielded, !cancellable);
}

} // namespace Threading
} // namespace ZKT
