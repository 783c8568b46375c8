#include "host/Failure.h"
#include "host/Json.h"
#include "host/Names.h"
#include "host/ObjectQuery.h"
#include "host/PropertyText.h"
#include "host/Text.h"
#include "host/Verbs.h"

#include <vector>

namespace Host
{

ExitCode Get(const Options& options, Output& output)
{
    const ObjectQuery object = ParseObject(options.object);
    std::vector<PI::_PROPERTY_ID> ids;
    for (const std::string& property : options.properties)
        ids.push_back(ParseProperty(property));
    const bool isOne = ids.size() == 1;

    PluginSession session(options.plugin);
    const std::uint64_t objectId = ResolveObject(object, session);
    Json values = Json::array();
    std::string lines;
    std::vector<std::string> failures;
    for (const PI::_PROPERTY_ID id : ids)
    {
        const std::string name = NameOrNumber(Vocabulary::propertyNames(), id);
        PI::CProperty property(id, false);
        if (const std::int32_t code = session.GetProperty(objectId, property);
            code != PI::ERR_SUCCESS)
        {
            failures.push_back(object.word + " gives no " + name + ": " + CodeText(code));
            continue;
        }
        values.push_back(PropertyJson(property));
        const std::string line = (isOne ? "" : name + ": ") + Printable(ValueText(property));
        lines += (output.IsTerminal() ? Wrapped(line, output.Columns(), "  ") : line) + "\n";
    }
    if (isOne && !failures.empty())
        throw Failure(EXIT_PLUGIN, failures.front());
    output.Write(options.json ? JsonText(isOne ? values.front() : values) : lines);
    for (const std::string& failure : failures)
        Complain(failure);
    return failures.empty() ? EXIT_DONE : EXIT_PLUGIN;
}

} // namespace Host
