#include "host/Wakeup.h"

#include "host/windows/Channel.h"
#include "host/windows/Event.h"

#include <algorithm>
#include <atomic>
#include <iterator>

namespace
{

/// What a line that is on its way at the end gets to arrive.
constexpr DWORD lastPatience = 1000;

std::atomic<HANDLE> endEvent = nullptr;

/// Runs on a thread of the system's own.
BOOL WINAPI OnConsoleEvent(DWORD kind)
{
    const HANDLE end = endEvent;
    if (end == nullptr)
        return FALSE;
    SetEvent(end);
    // The system ends the process as soon as this returns, or by itself after some seconds. Until
    // then the process ends in its own way.
    if (kind != CTRL_C_EVENT && kind != CTRL_BREAK_EVENT)
        Sleep(INFINITE);
    return TRUE;
}

} // namespace

namespace Host
{

struct Wakeup::State
{
    HANDLE inbox;
    Output::Channel& output;
    bool isLimited;
    ULONGLONG deadline; ///< on the clock of GetTickCount64
    Event end{true, false};

    DWORD TimeLeft() const
    {
        if (!isLimited)
            return INFINITE;
        const ULONGLONG now = GetTickCount64();
        return static_cast<DWORD>(
            std::min<ULONGLONG>(deadline > now ? deadline - now : 0, INFINITE - 1));
    }

    /// @return position of what is set, the first counts; anything else when time has run out
    DWORD WaitFor(HANDLE first, HANDLE second) const
    {
        const HANDLE handles[] = {first, second};
        for (;;)
        {
            const DWORD time = TimeLeft();
            const DWORD result = WaitForMultipleObjects(std::size(handles), handles, FALSE, time);
            // A time-out of more than a DWORD holds comes in several.
            if (result != WAIT_TIMEOUT || TimeLeft() == 0)
                return result - WAIT_OBJECT_0;
        }
    }
};

Wakeup::Wakeup(const Doorbell& inbox, Output& output, std::optional<std::uint32_t> seconds)
    : m_State(new State{reinterpret_cast<HANDLE>(inbox.Waitable()), output.GetChannel(),
                        seconds.has_value(),
                        GetTickCount64() + std::uint64_t{1000} * seconds.value_or(0)})
{
    endEvent = m_State->end.Get();
    SetConsoleCtrlHandler(OnConsoleEvent, TRUE);
}

Wakeup::~Wakeup()
{
    SetConsoleCtrlHandler(OnConsoleEvent, FALSE);
    endEvent = nullptr;
    m_State->output.Abandon(lastPatience);
}

Wakeup::Reason Wakeup::WaitForInbox() const
{
    return m_State->WaitFor(m_State->inbox, m_State->end.Get()) == 0 ? Reason::Inbox : Reason::End;
}

Wakeup::Reason Wakeup::WaitForOutput() const
{
    if (m_State->WaitFor(m_State->end.Get(), m_State->output.Idle()) != 1)
        return Reason::End;
    return m_State->output.HasNoReader() ? Reason::OutputGone : Reason::Output;
}

} // namespace Host
