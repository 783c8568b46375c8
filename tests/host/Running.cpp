#include "tests/host/Running.h"

#include "tests/support/MachineBuilder.h"

#include <gtest/gtest.h>

#include <csignal>
#include <filesystem>
#include <utility>

#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

std::string PutMachine(const std::vector<nlohmann::json>& disks)
{
    const std::string file = testFolder.File("machine.json");
    std::filesystem::rename(testFolder.Write("new", Support::MachineWith(disks).dump()), file);
    return file;
}

Environment ShiftedClock()
{
    return {{"LD_PRELOAD", TARNIS_BIN_DIR "/preload.so"},
            {"CLOCK_SHIFT", testFolder.File("clock")},
            {"ASAN_OPTIONS", "verify_asan_link_order=0"}};
}

void SetClockAhead(long seconds)
{
    std::filesystem::rename(testFolder.Write("new", std::to_string(seconds)),
                            testFolder.File("clock"));
}

Running::Running(const Arguments& arguments, const Environment& environment)
{
    int ends[2];
    EXPECT_EQ(::pipe2(ends, O_CLOEXEC), 0);
    m_Child = StartTarnisctl(arguments, environment, ends[1], ends[1]);
    ::close(ends[1]);
    m_Output = ends[0];
}

Running::~Running()
{
    ::close(m_Output);
    if (m_Child > 0)
        End(SIGKILL);
}

bool Running::ReadMore()
{
    constexpr int patience = 30000;
    pollfd wait{m_Output, POLLIN, 0};
    char buffer[4096];
    const ssize_t got =
        ::poll(&wait, 1, patience) == 1 ? ::read(m_Output, buffer, sizeof buffer) : 0;
    if (got > 0)
        m_Text.append(buffer, static_cast<std::size_t>(got));
    return got > 0;
}

std::string Running::LineWith(const std::string& text)
{
    for (;;)
    {
        std::size_t end = 0;
        while ((end = m_Text.find('\n')) == std::string::npos)
            if (!ReadMore())
                return "no line with " + text;
        const std::string line = m_Text.substr(0, end + 1);
        m_Text.erase(0, end + 1);
        if (Holds(line, text))
            return line;
        EXPECT_FALSE(Holds(line, "DISK") || Holds(line, "  drive")) << line;
    }
}

int Running::End(int signal)
{
    ::kill(m_Child, signal);
    return WaitFor(std::exchange(m_Child, -1));
}
