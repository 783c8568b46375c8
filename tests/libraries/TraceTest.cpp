#include "contracts/zelKit.h"
#include "libraries/zelKit/Clock.h"
#include "tests/support/TestFolder.h"

#include <cstdlib>
#include <functional>
#include <gtest/gtest.h>
#include <sstream>
#include <string>
#include <thread>
#include <tuple>
#include <vector>

namespace
{

using namespace ZKT;
using Output_Streams::CFormatStream;

Language_Support::CLanguageSupport::CLngFile messages("", 0, "", 0, nullptr, 0);
const Language_Support::CLanguageSupport::ERROR_MSG_LIST errors{};
const Misc::CModuleInfo module(305, "tarnis", "1", messages, errors);

void Line(const char* format, const std::function<void(CFormatStream&)>& fill)
{
    Internals::CTraceStreamBuffer buffer(16, module, "tarnis/Src", "N::F", 7);
    CFormatStream stream = buffer.Open(format);
    fill(stream);
}

TEST(Trace, FillsTheFormat)
{
    using Fill = std::function<void(CFormatStream&)>;
    const std::tuple<const char*, Fill, std::string> cases[] = {
        {"0x%x %x", [](auto& s) { s << INT64_MAX << -1; }, "0x7fffffffffffffff ffffffff"},
        {"%d %d", [](auto& s) { s << INT64_MIN << UINT64_MAX; },
         "-9223372036854775808 18446744073709551615"},
        {"%s%s left: %d", [](auto& s) { s << "%d" << 3; }, "%d3 left: %d"},
        {"100%% %5d %", [](auto& s) { s << 1; }, "100%% %5d %"},
        {"%s", [](auto& s) { s << std::string("\n\0\x7F\xC3\xA9", 5); }, "\\x0a\\x00\\x7f\xC3\xA9"},
        {"%s\u202d", [](auto& s) { s << "\u009b\u200e\u2066\xFF"; },
         "\\u009b\\u200e\\u2066\\xff\\u202d"},
    };
    setenv("TZ", "UTC0", 1);
    tzset();
    Internals::SetClock([]() -> std::uint64_t { return 1795378195123; });
    for (const auto& [format, fill, text] : cases)
    {
        testing::internal::CaptureStderr();
        Line(format, fill);
        EXPECT_EQ(testing::internal::GetCapturedStderr(),
                  "2026-11-22 20:09:55.123 tarnis 16 tarnis/Src N::F:7 [" +
                      std::to_string(gettid()) + "] " + text + "\n");
    }
    Internals::SetClock(nullptr);
}

TEST(Trace, MaskIsTakenStrictly)
{
    const std::tuple<const char*, std::uint32_t, bool> cases[] = {
        {"159", 159, true},  {"0XffffFFFF", 0xFFFFFFFF, true},
        {"", 0, true},       {"4294967296", 0, false},
        {"0x9F", 159, true}, {"1 ", 0, false},
        {" 1", 0, false},    {"-1", 0, false},
        {"0x", 0, false},
    };
    for (const auto& [text, mask, isMask] : cases)
    {
        setenv("TARNIS_TRACE_MASK", text, 1);
        testing::internal::CaptureStderr();
        EXPECT_EQ(Misc::CModuleInfo(305, "", "", messages, errors).GetTraceMask(), mask) << text;
        EXPECT_EQ(testing::internal::GetCapturedStderr().empty(), isMask) << text;
    }
    unsetenv("TARNIS_TRACE_MASK");
}

// Needs a process that has not traced yet, and starts one, as the next does.
TEST(Trace, GoesToItsFileInWholeLines)
{
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    const TestFolder folder;
    setenv("TRACE_TEST_FILE", folder.File("trace").c_str(), 0); // the new process has its parent's
    const std::string file = std::getenv("TRACE_TEST_FILE");
    const std::string text(5000, 'x');
    EXPECT_EXIT(
        {
            setenv("TARNIS_TRACE_FILE", file.c_str(), 1);
            std::vector<std::jthread> threads;
            for (int line = 0; line < 200; ++line)
                threads.emplace_back([&] { Line("%s", [&](auto& s) { s << text; }); });
            threads.clear();
            rmdir(folder.Path().c_str()); // that of the new process
            std::_Exit(0);
        },
        testing::ExitedWithCode(0), "^$");
    unsetenv("TRACE_TEST_FILE");
    std::istringstream in(folder.Read("trace"));
    int lines = 0;
    for (std::string line; std::getline(in, line); ++lines)
        EXPECT_TRUE(line.starts_with("20") && line.ends_with("] " + text));
    EXPECT_EQ(lines, 200);
}

#if !defined(_WIN32) // no such files there

TEST(Trace, TellsOnceThatItsFileTakesNothing)
{
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    const std::pair<const char*, const char*> cases[] = {
        {"/dev/null/\u202e",
         "^zelKit: [^\n]*/dev/null/.u202e\"[^\n]*\n[^\n]* first\n[^\n]* second\n$"},
        {"/dev/full", "^zelKit: trace lines are lost [^\n]*\n$"},
    };
    for (const auto& [file, said] : cases)
        EXPECT_EXIT(
            {
                setenv("TARNIS_TRACE_FILE", file, 1);
                Line("%s", [](auto& s) { s << "first"; });
                Line("%s", [](auto& s) { s << "second"; });
                std::_Exit(0);
            },
            testing::ExitedWithCode(0), said);
}

#endif

} // namespace
