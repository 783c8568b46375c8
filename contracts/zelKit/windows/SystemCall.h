// Calls into Windows that may take long, made so that a request to stop breaks them off.
#pragma once

#include "contracts/Export.h"

namespace ZKT::Threading
{

/// While it lives, a request to stop the calling thread breaks off what the thread waits for in a
/// synchronous call, as far as the driver allows it. Made around one call; without effect in a
/// thread that no CThread started.
class ZELKIT_API CInterruptibleCall
{
  public:
    CInterruptibleCall() noexcept;
    ~CInterruptibleCall();
    CInterruptibleCall(const CInterruptibleCall&) = delete;
    CInterruptibleCall& operator=(const CInterruptibleCall&) = delete;
};

} // namespace ZKT::Threading
