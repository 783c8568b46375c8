// Shields a stretch of code from pthread_cancel.
#pragma once

#include <pthread.h>

namespace Libraries
{

/// While it lives, its thread is not cancelled. Needed wherever a file call happens inside a
/// destructor or another frame that no exception may leave: a cancellation is an unwinding, and
/// would end the process there.
class CancellationOff
{
  public:
    CancellationOff() { pthread_setcancelstate(PTHREAD_CANCEL_DISABLE, &m_Previous); }
    ~CancellationOff() { pthread_setcancelstate(m_Previous, nullptr); }
    CancellationOff(const CancellationOff&) = delete;
    CancellationOff& operator=(const CancellationOff&) = delete;

  private:
    int m_Previous = PTHREAD_CANCEL_ENABLE;
};

} // namespace Libraries
