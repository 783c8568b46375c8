// Lets one call of a chosen kind fail: the counter, and the one place that decides. The calls
// themselves are listed in Calls.inc.
#pragma once

namespace Faults
{

enum class Times
{
    Once,
    Twice, ///< and the call behind it
    Always ///< and every later one
};

/// Counts the calls from here on. @param kind  of Calls.inc: a boundary, or one call
void Begin(const char* kind, long position, Times times);

/// Lets everything pass again. @return how many calls of the kind there were
long End();

/// Whether this call is one that shall fail. Any thread; needs no memory.
bool Fails(const char* boundary, const char* call);

/// For each thread: how many reasons there are to let its calls pass uncounted.
extern thread_local int t_spared __attribute__((tls_model("initial-exec")));

/// Gives the calling thread's calls, for a while, another number of reasons.
class Reasons
{
  public:
    explicit Reasons(int count) : m_Before(t_spared) { t_spared = count; }
    ~Reasons() { t_spared = m_Before; }
    Reasons(const Reasons&) = delete;
    Reasons& operator=(const Reasons&) = delete;

  private:
    int m_Before;
};

struct Spared : Reasons
{
    Spared() : Reasons(1) {}
};

struct Counted : Reasons
{
    Counted() : Reasons(0) {}
};

/// Blocks of memory that were given out and not given back.
long LiveBlocks();

} // namespace Faults
