#pragma once

#include "host/Output.h"
#include "host/windows/Event.h"

#include <atomic>
#include <string>

namespace Host
{

/// Writes on a thread of its own, one text at a time.
class Output::Channel
{
  public:
    /// @param descriptor  of the C library; closed with this, also when this cannot be made
    explicit Channel(int descriptor);
    /// Waits for what is on its way. Not to be called while stuck.
    ~Channel();
    Channel(const Channel&) = delete;
    Channel& operator=(const Channel&) = delete;

    /// Hands a text over, once the one before it is written. A reader that is gone is no failure.
    /// @throws Failure of the one before
    void Send(std::string_view text);
    /// Waits for what is on its way. @throws Failure
    void Finish();
    /// Closes the descriptor. To be called after Finish. @throws Failure
    void Close();
    /// Gives what is on its way so long, then breaks it off.
    void Abandon(DWORD milliseconds);
    /// Whether what is on its way could not be broken off: this must then stay as long as the
    /// process, whose end takes the thread with it.
    bool IsStuck() const { return m_IsStuck; }

    /// Set while nothing is on its way.
    HANDLE Idle() const { return m_Idle.Get(); }
    HANDLE SystemHandle() const;
    /// Whether nobody reads any more. Known while nothing is on its way.
    bool HasNoReader() const;

  private:
    /// A descriptor and its end.
    struct Descriptor
    {
        ~Descriptor();
        int number;
    };

    static unsigned __stdcall RunThread(void* channel);
    void Run();
    DWORD WriteAll() const;
    void Check() const;

    Descriptor m_Descriptor;
    Event m_Work{false, false};
    Event m_Idle{true, true};
    std::string m_Text; ///< the thread's while m_Idle is not set, as m_Error
    DWORD m_Error = 0;  ///< of the last text
    std::atomic<bool> m_Ends = false;
    bool m_IsStuck = false;
    HANDLE m_Thread;
};

} // namespace Host
