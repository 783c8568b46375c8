// The plug-in while one call after the other fails, in a process of its own for each.
#include "tests/faults/PluginScenario.h"
#include "tests/faults/Positions.h"
#include "tests/support/TestFolder.h"

#include <gtest/gtest.h>

#include <csignal>

#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

namespace
{

using nlohmann::json;

struct Outcome
{
    int status = 0;
    json seen;
};

class PluginFaults : public testing::TestWithParam<const char*>
{
  protected:
    static std::string ReadAll(int file)
    {
        std::string text;
        char block[65536];
        for (ssize_t got = 0; (got = ::read(file, block, sizeof block)) > 0;)
            text.append(block, static_cast<std::size_t>(got));
        ::close(file);
        return text;
    }

    static Outcome RunAt(long position, Faults::Times times = Faults::Times::Once)
    {
        const TestFolder folder;
        int ends[2];
        EXPECT_EQ(::pipe2(ends, O_CLOEXEC), 0);
        const pid_t child = ::fork();
        if (child == 0)
        {
            ::alarm(60);
            ::dup2(::open("/dev/null", O_WRONLY | O_CLOEXEC), STDOUT_FILENO);
            std::string text;
            try
            {
                text = Faults::RunPluginScenario(folder.Path(), GetParam(), position, times).dump();
            }
            catch (const std::exception& error)
            {
                text = json(error.what()).dump();
            }
            ::_exit(::write(ends[1], text.data(), text.size()) < 0);
        }
        ::close(ends[1]);
        const std::string text = ReadAll(ends[0]);
        Outcome outcome;
        ::waitpid(child, &outcome.status, 0);
        outcome.seen = json::parse(text, nullptr, false);
        return outcome;
    }
};

TEST_P(PluginFaults, LeaveTheHostARightPictureOrAnError)
{
    const Outcome whole = RunAt(0);
    ASSERT_TRUE(whole.seen.is_object()) << whole.status << whole.seen;
    const long calls = whole.seen["calls"];
    ASSERT_GT(calls, 0);
    ASSERT_EQ(whole.seen["disturbed"]["events"].size(), 3U); // came, went, turned bad
    const auto run = [&](const Faults::Drawn& fault)
    {
        const Outcome faulty = RunAt(fault.position, fault.times);
        const bool isWhole = faulty.status == 0 && faulty.seen.is_object();
        const std::string wrong =
            isWhole ? Faults::Judge(whole.seen, faulty.seen, GetParam())
                    : "status " + std::to_string(faulty.status) + ' ' + faulty.seen.dump();
        if (!wrong.empty())
            ADD_FAILURE() << GetParam() << ' ' << fault.position << ' '
                          << Faults::TimesText(fault.times) << ": " << wrong;
        return isWhole ? faulty.seen["calls"] >= fault.position : fault.position < calls;
    };
    Faults::ForPositions({calls}, 30, run);
}

INSTANTIATE_TEST_SUITE_P(Boundaries, PluginFaults,
                         testing::Values("memory", "platform", "open", "read", "write", "lock",
                                         "map", "stat", "change", "process"),
                         [](const auto& one) { return std::string(one.param); });

} // namespace
