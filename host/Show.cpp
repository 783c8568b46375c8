#include "host/Json.h"
#include "host/PluginSession.h"
#include "host/ShowText.h"
#include "host/Verbs.h"

namespace Host
{

void Show(const Options& options, Output& output)
{
    PluginSession session(options.plugin);
    const Objects objects = session.Topology();
    // Written before the session ends: stopping a plug-in takes its time.
    output.Write(options.json ? JsonText(TopologyJson(objects))
                              : ShowText(objects, {output.IsColoured(), output.Columns()}));
}

} // namespace Host
