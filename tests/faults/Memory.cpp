// Takes the place of malloc and its relatives, and counts what is given out.
#include "tests/faults/Faults.h"
#include "tests/faults/Interposed.h"

#include <atomic>
#include <cerrno>

namespace
{

std::atomic<long> g_live = 0;

} // namespace

long Faults::LiveBlocks()
{
    return g_live;
}

#if !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__) // those bring a malloc

extern "C"
{
    void* __libc_malloc(unsigned long bytes);
    void* __libc_calloc(unsigned long count, unsigned long bytes);
    void* __libc_realloc(void* block, unsigned long bytes);
    void* __libc_memalign(unsigned long step, unsigned long bytes);
    void __libc_free(void* block);
}

namespace
{

/// To look the system's function up as the others are would take memory.
template <class Give> void* Given(const char* call, Give give)
{
    if (Faults::Fails("memory", call))
    {
        errno = ENOMEM;
        return nullptr;
    }
    void* const block = give();
    g_live += block != nullptr;
    return block;
}

} // namespace

INTERPOSED void* Faulty_malloc(unsigned long bytes) __asm__("malloc");
void* Faulty_malloc(unsigned long bytes)
{
    return Given("malloc", [&] { return __libc_malloc(bytes); });
}

INTERPOSED void* Faulty_calloc(unsigned long count, unsigned long bytes) __asm__("calloc");
void* Faulty_calloc(unsigned long count, unsigned long bytes)
{
    return Given("calloc", [&] { return __libc_calloc(count, bytes); });
}

INTERPOSED void* Faulty_aligned_alloc(unsigned long step,
                                      unsigned long bytes) __asm__("aligned_alloc");
void* Faulty_aligned_alloc(unsigned long step, unsigned long bytes)
{
    return Given("aligned_alloc", [&] { return __libc_memalign(step, bytes); });
}

INTERPOSED void* Faulty_realloc(void* block, unsigned long bytes) __asm__("realloc");
void* Faulty_realloc(void* block, unsigned long bytes)
{
    void* const moved = Given("realloc", [&] { return __libc_realloc(block, bytes); });
    g_live -= block != nullptr && moved != nullptr;
    return moved;
}

INTERPOSED void Counted_free(void* block) __asm__("free");
void Counted_free(void* block)
{
    g_live -= block != nullptr;
    __libc_free(block);
}

#endif
