#include "host/MemoryReserve.h"

#include <array>
#include <atomic>
#include <cstddef>
#include <new>

namespace Host
{

namespace
{

std::array<std::atomic<char*>, 2> memoryReserve;

bool IsSetFree(std::atomic<char*>& part)
{
    const char* memory = part.exchange(nullptr);
    delete[] memory;
    return memory != nullptr;
}

} // namespace

void FillMemoryReserve()
{
    constexpr std::size_t bytes = 1 << 20;
    for (std::atomic<char*>& part : memoryReserve)
        if (part == nullptr)
            delete[] part.exchange(new char[bytes]);
    std::set_new_handler(
        []
        {
            if (IsSetFree(memoryReserve.front()))
                return; // the allocation is tried again
            IsSetFree(memoryReserve.back());
            throw std::bad_alloc();
        });
}

} // namespace Host
