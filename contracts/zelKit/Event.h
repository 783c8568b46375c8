#pragma once

#include "contracts/Export.h"
#include "contracts/zelKit/Result.h"

#include <cstdint>
#include <memory>

namespace ZKT::Internals
{
struct EventState;
class Sleeper;

namespace Windows
{

/// Control block of an event: what sets it. Any thread may call it.
class ZELKIT_API CEventCB
{
  public:
    explicit CEventCB(std::shared_ptr<EventState> state);
    ~CEventCB();

    /// Signals the event: wakes one wait, or, with manual reset, all waits from now on.
    void Set();

  private:
    std::shared_ptr<EventState> m_State;
};

} // namespace Windows
} // namespace ZKT::Internals

namespace ZKT::Threading
{

/// What a CWaiter waits for. A copyable reference; the event's state lives as long as any handle.
class ZELKIT_API CWaitHandle
{
  public:
    explicit CWaitHandle(std::shared_ptr<Internals::EventState> state);
    ~CWaitHandle();
    CWaitHandle(const CWaitHandle&);
    CWaitHandle& operator=(const CWaitHandle&);

  private:
    friend class CWaiter;
    friend class Internals::Sleeper;
    std::shared_ptr<Internals::EventState> m_State;
};

/// An event to wait for. Without a control block, and unusable, before Init.
class ZELKIT_API CEvent
{
  public:
    CEvent();
    ~CEvent();
    CEvent(const CEvent&) = delete;
    CEvent& operator=(const CEvent&) = delete;

    /// @param initiallySet  whether it starts signalled
    /// @param manualReset   false: a wait that ends by the event consumes the signal;
    ///                      true: the signal stays for good
    /// @return RESULT_SUCCESS when usable. A second call changes nothing.
    std::uint32_t Init(bool initiallySet, bool manualReset);

    /// Null before Init. Owned by the event.
    Internals::Windows::CEventCB* GetControlBlock() const { return m_ControlBlock.get(); }

    CWaitHandle GetWaitHandle() const;

  private:
    std::shared_ptr<Internals::EventState> m_State;
    std::unique_ptr<Internals::Windows::CEventCB> m_ControlBlock;
};

} // namespace ZKT::Threading
