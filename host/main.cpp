#include "host/Failure.h"
#include "host/MemoryReserve.h"
#include "host/Options.h"
#include "host/Output.h"
#include "host/System.h"
#include "host/Verbs.h"

#include <cstdio>
#include <exception>
#include <new>
#include <string>

namespace
{

Host::ExitCode RunVerb(const Host::Options& options, Host::Output& output)
{
    switch (options.verb)
    {
    case Host::Verb::Show:
        return Host::Show(options, output);
    case Host::Verb::Get:
        return Host::Get(options, output);
    case Host::Verb::Set:
        return Host::Set(options, output);
    case Host::Verb::Watch:
        return Host::Watch(options, output);
    case Host::Verb::Explain:
        return Host::Explain(options, output);
    case Host::Verb::Help:
        output.Write(Host::helpText);
        output.Write(Host::systemHelpText);
        break;
    case Host::Verb::Version:
        output.Write(Host::versionText);
        break;
    }
    return Host::EXIT_DONE;
}

} // namespace

int main(int argc, char** argv)
{
    try
    {
        Host::FillMemoryReserve();
        Host::Output output;
        const Host::Options options = Host::ParseOptions(Host::Arguments(argc, argv));
        Host::ApplyEnvironment(options);
        const Host::ExitCode result = RunVerb(options, output);
        output.Close();
        return result;
    }
    catch (const Host::Failure& failure)
    {
        Host::Complain(failure.what());
        return failure.Code();
    }
    catch (const std::bad_alloc&)
    {
        std::fputs("tarnisctl: memory ran out\n", stderr);
        return Host::EXIT_PLUGIN;
    }
    catch (const std::exception& error)
    {
        Host::Complain(std::string("unexpected: ") + error.what());
        return Host::EXIT_PLUGIN;
    }
}
