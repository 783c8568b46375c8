// Rows of the shared database.
//
// There is no shared database yet: zelStore hands out no storage object. Until it does, each of
// these fails with GENERAL and says so in the trace. No caller looks at the result.
#include "tarnis/Src/tarnis/Instance.h"
#include "tarnis/Src/tarnis/Trace.h"

namespace NAMESPACE_tarnis
{
namespace
{

PI::_ERROR_CODE NoDatabase(const char* operation)
{
    Trace(TRACE_DATABASE, "%s: no shared database, nothing written", operation);
    return PI::ERR_GENERAL;
}

} // namespace

PI::_ERROR_CODE IPLUGINAPI_IMPL::InsertObjectToDatabase(const CAHCIPlugin&)
{
    return NoDatabase("Insert plug-in");
}

PI::_ERROR_CODE IPLUGINAPI_IMPL::InsertObjectToDatabase(const CAHCIAdapter&)
{
    return NoDatabase("Insert adapter");
}

PI::_ERROR_CODE IPLUGINAPI_IMPL::InsertObjectToDatabase(const CAHCIPhysicalDrive&)
{
    return NoDatabase("Insert drive");
}

PI::_ERROR_CODE IPLUGINAPI_IMPL::UpdateObjectInDatabase(const CAHCIPlugin&)
{
    return NoDatabase("Update plug-in");
}

PI::_ERROR_CODE IPLUGINAPI_IMPL::UpdateObjectInDatabase(const CAHCIAdapter&)
{
    return NoDatabase("Update adapter");
}

PI::_ERROR_CODE IPLUGINAPI_IMPL::UpdateObjectInDatabase(const CAHCIPhysicalDrive&)
{
    return NoDatabase("Update drive");
}

PI::_ERROR_CODE IPLUGINAPI_IMPL::DeleteObjectFromDatabase(const CAHCIPlugin&)
{
    return NoDatabase("Delete plug-in");
}

PI::_ERROR_CODE IPLUGINAPI_IMPL::DeleteObjectFromDatabase(const CAHCIAdapter&)
{
    return NoDatabase("Delete adapter");
}

PI::_ERROR_CODE IPLUGINAPI_IMPL::DeleteObjectFromDatabase(const CAHCIPhysicalDrive&)
{
    return NoDatabase("Delete drive");
}

} // namespace NAMESPACE_tarnis
