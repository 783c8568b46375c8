#include "host/Failure.h"
#include "host/Options.h"
#include "host/Output.h"
#include "host/Verbs.h"

#include <exception>
#include <string>

namespace
{

void Run(const Host::Options& options, Host::Output& output)
{
    Host::ApplyEnvironment(options);
    switch (options.verb)
    {
    case Host::Verb::Show:
        Host::Show(options, output);
        break;
    case Host::Verb::Get:
        Host::Get(options, output);
        break;
    case Host::Verb::Explain:
        Host::Explain(options, output);
        break;
    case Host::Verb::Help:
        output.Write(Host::helpText);
        break;
    case Host::Verb::Version:
        output.Write(Host::versionText);
        break;
    }
    output.Close();
}

} // namespace

int main(int argc, char** argv)
{
    try
    {
        Host::Output output;
        Run(Host::ParseOptions(argc, argv), output);
        return Host::EXIT_DONE;
    }
    catch (const Host::Failure& failure)
    {
        Host::Complain(failure.what());
        return failure.Code();
    }
    catch (const std::exception& error)
    {
        Host::Complain(std::string("unexpected: ") + error.what());
        return Host::EXIT_PLUGIN;
    }
}
