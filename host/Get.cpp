#include "host/Failure.h"
#include "host/Json.h"
#include "host/Names.h"
#include "host/ObjectQuery.h"
#include "host/PropertyText.h"
#include "host/Text.h"
#include "host/Verbs.h"

namespace Host
{

ExitCode Get(const Options& options, Output& output)
{
    const ObjectQuery object = ParseObject(options.object);
    const PI::_PROPERTY_ID id = ParseProperty(options.property);

    PluginSession session(options.plugin);
    PI::CProperty property(id, false);
    const std::int32_t code = session.GetProperty(ResolveObject(object, session), property);
    if (code != PI::ERR_SUCCESS)
        throw Failure(EXIT_PLUGIN, object.word + " gives no " +
                                       NameOrNumber(Vocabulary::propertyNames(), id) + ": " +
                                       CodeText(code));
    output.Write(options.json ? JsonText(PropertyJson(property))
                              : Printable(ValueText(property)) + "\n");
    return EXIT_DONE;
}

} // namespace Host
