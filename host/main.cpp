#include "contracts/zelKit/Text.h"
#include "host/Failure.h"
#include "host/MemoryReserve.h"
#include "host/Options.h"
#include "host/Output.h"
#include "host/System.h"
#include "host/VerbTable.h"
#include "host/Verbs.h"

#include <cstdio>
#include <exception>
#include <new>
#include <string>
#include <vector>

namespace
{

Host::ExitCode Answer(const Host::Options& options, Host::Output& output)
{
    if (options.answer.empty())
        return options.verb->run(options, output);
    output.Write(options.answer);
    return Host::EXIT_DONE;
}

} // namespace

/// @throws what goes wrong, but for that of a check, which tells it as its answer
Host::ExitCode Run(const std::vector<std::string>& arguments, Host::Output& output)
{
    try
    {
        const Host::Options options = Host::ParseOptions(arguments);
        output.SetColour(options.colour);
        Host::ApplyEnvironment(options);
        return Answer(options, output);
    }
    catch (const Host::UsageFailure& failure)
    {
        const auto check = Host::FormOfCheck(arguments);
        if (!check)
            throw;
        return Host::FailCheck(*check, failure.what(), output);
    }
}

int main(int argc, char** argv)
{
    // Whatever fails, check does not know the state of the drives.
    Host::ExitCode unknown = Host::EXIT_DONE;
    const auto codeOf = [&](Host::ExitCode code)
    { return unknown == Host::EXIT_DONE ? code : unknown; };
    try
    {
        Host::FillMemoryReserve();
        if (!Host::TakesUtf8())
            ZKT::Misc::KeepToAscii();
        Host::Output output;
        const std::vector<std::string> arguments = Host::Arguments(argc, argv);
        if (Host::FormOfCheck(arguments))
            unknown = Host::CHECK_UNKNOWN;
        const Host::ExitCode result = Run(arguments, output);
        output.Close();
        return result;
    }
    catch (const Host::Failure& failure)
    {
        Host::Complain(failure.what());
        return codeOf(failure.Code());
    }
    catch (const std::bad_alloc&)
    {
        std::fputs("tarnisctl: memory ran out\n", stderr);
        return codeOf(Host::EXIT_PLUGIN);
    }
    catch (const std::exception& error)
    {
        Host::Complain(std::string("unexpected: ") + error.what());
        return codeOf(Host::EXIT_PLUGIN);
    }
}
