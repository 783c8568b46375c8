#include "host/Failure.h"
#include "host/MemoryReserve.h"
#include "host/Options.h"
#include "host/Output.h"
#include "host/System.h"
#include "host/VerbTable.h"

#include <cstdio>
#include <exception>
#include <new>
#include <string>

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

int main(int argc, char** argv)
{
    try
    {
        Host::FillMemoryReserve();
        Host::Output output;
        const Host::Options options = Host::ParseOptions(Host::Arguments(argc, argv));
        output.SetColour(options.colour);
        Host::ApplyEnvironment(options);
        const Host::ExitCode result = Answer(options, output);
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
