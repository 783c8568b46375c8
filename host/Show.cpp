#include "host/Json.h"
#include "host/PluginSession.h"
#include "host/ShowText.h"
#include "host/Verbs.h"

#include <string_view>

namespace Host
{

ExitCode Show(const Options& options, Output& output)
{
    PluginSession session(options.plugin);
    const Objects objects = session.Topology();
    // Written before the session ends: stopping a plug-in takes its time.
    if (options.json)
        WriteTopologyJson(objects, [&output](std::string_view text) { output.Write(text); });
    else
        output.Write(ShowText(InOrderOfDisks(objects), {output.IsColoured(), output.Columns()}));
    return session.Result();
}

} // namespace Host
