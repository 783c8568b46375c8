#include "host/Snapshot.h"

namespace Host
{

Snapshot TakeSnapshot(PluginSession& session)
{
    Snapshot snapshot;
    snapshot.objects = InOrderOfDisks(session.Topology());
    std::vector<ZKTX::CSystemDisk> disks;
    ZKTX::CSystemDisks::GetDisks(disks);
    snapshot.drives = DrivesOf(snapshot.objects, disks);
    return snapshot;
}

} // namespace Host
