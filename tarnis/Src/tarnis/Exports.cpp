#include "contracts/Export.h"
#include "tarnis/Src/tarnis/Instance.h"
#include "tarnis/Src/tarnis/Module.h"

#include <exception>
#include <new>

extern "C" TARNIS_EXPORT std::int32_t createIf(IPLUGINAPI** plugin)
{
    if (plugin == nullptr)
        return PI::ERR_INVALID_PARAMETER;
    IPLUGINAPI* instance = nullptr;
    try
    {
        instance = new (std::nothrow) NAMESPACE_tarnis::IPLUGINAPI_IMPL;
    }
    catch (const std::exception&)
    {
        // A member found no memory while it was built: the same end as no memory at all.
    }
    *plugin = instance;
    if (instance == nullptr)
        return PI::ERR_MEMORY_ERROR;
    instance->m_ModuleStamp = NAMESPACE_tarnis::g_ModuleInfo.GetStamp();
    return PI::ERR_SUCCESS;
}

extern "C" TARNIS_EXPORT void releaseIf(IPLUGINAPI** plugin)
{
    if (plugin == nullptr || *plugin == nullptr)
        return;
    auto* instance = static_cast<NAMESPACE_tarnis::IPLUGINAPI_IMPL*>(*plugin);
    *plugin = nullptr;
    // A worker that could not be stopped still uses the instance, which stays for it.
    if (!instance->AbandonRunningWorker())
        delete instance;
}
