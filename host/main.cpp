#include "host/Failure.h"
#include "host/Options.h"
#include "host/Output.h"
#include "host/Verbs.h"

#include <atomic>
#include <cstddef>
#include <cstdio>
#include <exception>
#include <new>
#include <string>

namespace
{

// Kept for the way out: when memory has run out, what ends there may ask for a little more of it,
// and in a destructor that would be the end of the process.
std::atomic<char*> memoryReserve = nullptr;

void KeepReserve()
{
    constexpr std::size_t bytes = 1 << 20;
    memoryReserve = new char[bytes];
    std::set_new_handler(
        []
        {
            delete[] memoryReserve.exchange(nullptr);
            throw std::bad_alloc();
        });
}

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
        KeepReserve();
        Host::Output output;
        const Host::Options options = Host::ParseOptions(argc, argv);
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
