#include "platform/WindowsApi.h"

#include "base/UntilUnload.h"
#include "platform/ApiCall.h"
#include "platform/CallGate.h"
#include "platform/HandleTable.h"

#include <atomic>
#include <memory>
#include <mutex>
#include <utility>

namespace Platform
{

namespace
{

thread_local DWORD t_CallError = ERROR_SUCCESS;

struct Gate
{
    std::mutex lock;
    std::shared_ptr<const CallGate> function;
};

Gate& TheGate()
{
    static Base::UntilUnload<Gate> gate;
    return *gate;
}

} // namespace

void SetCallGate(CallGate function)
{
    Gate& gate = TheGate();
    auto next = function ? std::make_shared<const CallGate>(std::move(function)) : nullptr;
    const std::lock_guard guard(gate.lock);
    g_hasCallGate = next != nullptr;
    gate.function.swap(next);
}

bool AskCallGate(const char* name)
{
    Gate& gate = TheGate();
    std::shared_ptr<const CallGate> function;
    {
        const std::lock_guard guard(gate.lock);
        function = gate.function;
    }
    return !function || (*function)(name);
}

void SetCallError(DWORD error)
{
    t_CallError = error;
}

HANDLE NewHandleValue()
{
    // As on Windows, a multiple of four and never null.
    static std::atomic<std::uintptr_t> last = 0;
    return reinterpret_cast<HANDLE>(last += 4);
}

// Does not pass the gate: it tells why another call failed, and cannot fail itself.
DWORD GetLastError()
{
    return t_CallError;
}

std::size_t OpenHandleCount()
{
    return OpenDeviceCount() + OpenListCount();
}

} // namespace Platform
