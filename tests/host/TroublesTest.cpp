// What goes wrong around the plug-in, with the remedy.
#include "tests/host/Running.h"
#include "tests/support/MachineBuilder.h"

#include <gtest/gtest.h>

#include <filesystem>

#include <sys/stat.h>

namespace
{

struct Case
{
    const char* settings; ///< content of tarnis.ini
    const char* custom;   ///< content of CustomOpts.ini
    std::string database;
    std::string told;   ///< "@" stands for the folder, "%" for the beginning of a line
    std::string answer; ///< the poll interval
};

void ReplaceAll(std::string& text, const std::string& what, const std::string& by)
{
    for (std::size_t at = 0; (at = text.find(what, at)) != text.npos; at += by.size())
        text.replace(at, what.size(), by);
}

// A machine file that stands in for the computer leaves the computer's rows and memory alone.
TEST(Troubles, AMachineFileHasFilesOfItsOwn)
{
    if (std::filesystem::exists("/var/lib/tarnis"))
        GTEST_SKIP() << "this computer has a database of its own";
    const TestFolder folder;
    const std::string machine = PutMachine({Support::Disk(0), Support::Disk(1)});
    const Environment unnamed{{"TARNIS_DATABASE", ""}, {"XDG_STATE_HOME", folder.Path()}};
    for (const Arguments& looks : {Arguments{"show"}, {"get", "disk0", "STATUS"}})
    {
        Arguments words = looks;
        words.insert(words.end(), {"--machine", machine});
        EXPECT_EQ(RunTarnisctl(words, unnamed).exitCode, 0);
        EXPECT_TRUE(std::filesystem::is_empty(folder.Path()));
    }
    EXPECT_EQ(RunTarnisctl({"check", "--machine", machine}, unnamed).exitCode, 0);
    const std::filesystem::path place = folder.File("tarnis");
    for (const auto& entry : std::filesystem::directory_iterator(place))
    {
        const std::string name = entry.path().filename().string();
        EXPECT_TRUE(name.starts_with("machine-machine-")) << entry;
        const auto mode = static_cast<unsigned>(entry.status().permissions());
        EXPECT_TRUE(mode == 0640 || !name.ends_with(".json")) << entry << ' ' << mode;
    }
    // Another machine of that name has never seen the drive of this one.
    const std::string twin =
        folder.Write("machine.json", Support::MachineWith({Support::Disk(2)}).dump());
    EXPECT_FALSE(Holds(RunTarnisctl({"check", "--machine", twin}, unnamed).out, "gone"));
    PutMachine({Support::Disk(0)});
    EXPECT_TRUE(Holds(RunTarnisctl({"check", "--machine", machine}, unnamed).out, "gone"));
}

TEST(Troubles, AreToldInOneLineEach)
{
    const std::string machine =
        testFolder.Write("one.json", Support::MachineWith({Support::Disk(0)}).dump());
    const std::string refused = "; rows are not kept; ";
    const std::string elsewhere = "name another file in TARNIS_DATABASE\n";
    const std::string number = " is no number of ";
    const Case cases[] = {
        {"PollInterval=2", "SnmpTrapReportTime1=0:00\nWearLevelThreshold=+100", "ok.db", "", "2 s"},
        {"PollInterval=", "", "ok.db",
         "%@/tarnis.ini: PollInterval=''" + number + "seconds from 2 to 255; 30 is in effect\n",
         "30 s"},
        {"PollInterval=-5\nPollInterval_VDS=1s", "", "ok.db",
         "%@/tarnis.ini: PollInterval='-5'" + number +
             "seconds from 2 to 255; 255 is in effect\n%@/tarnis.ini: PollInterval_VDS='1s'" +
             number + "seconds from 0 to 4294967295; 30 is in effect\n",
         "255 s"},
        {"PollInterval=1", "ReservedCellsThreshold=-1\nSnmpTrapReportTime2=24:\x9b", "ok.db",
         "%@/tarnis.ini: PollInterval='1'" + number +
             "seconds from 2 to 255; 2 is in effect\n"
             "%@/CustomOpts.ini: ReservedCellsThreshold='-1'" +
             number +
             "percent from 0 to 100; 4294967295 is in effect\n"
             "%@/CustomOpts.ini: SnmpTrapReportTime2='24:\\x9b' is no time of day from 0:00 to "
             "23:59; 23:00 is in effect\n",
         "2 s"},
        {"", nullptr, "ok.db",
         "%@/CustomOpts.ini: not a regular file; defaults apply; put a text file in its place\n",
         "30 s"},
        {"", "", "",
         "%@: not a regular file" + refused + "let this user write there, or " + elsewhere, "30 s"},
        {"", "", "other.db",
         "%@/other.db: file is not a database" + refused + "move it away or " + elsewhere, "30 s"},
    };
    const TestFolder folder;
    for (const Case& row : cases)
    {
        folder.Write("tarnis.ini", row.settings);
        std::filesystem::remove(folder.File("CustomOpts.ini"));
        if (row.custom != nullptr)
            folder.Write("CustomOpts.ini", row.custom);
        else
            EXPECT_EQ(mkfifo(folder.File("CustomOpts.ini").c_str(), 0600), 0);
        if (row.database == "other.db")
            folder.Write("other.db", std::string(8192, 'x'));
        std::string told = row.told;
        ReplaceAll(told, "@", folder.Path());
        ReplaceAll(told, "%", "tarnisctl: ");
        const std::string database =
            row.database.empty() ? folder.Path() : folder.File(row.database);
        for (const Arguments& verb :
             {Arguments{"show"}, Arguments{"get", "plugin", "POLL_INTERVAL"}})
        {
            Arguments arguments = verb;
            arguments.insert(arguments.end(), {"--machine", machine, "--config-dir", folder.Path(),
                                               "--database", database});
            const Outcome outcome = RunTarnisctl(arguments);
            EXPECT_EQ(outcome.exitCode, 0);
            EXPECT_EQ(outcome.err, told);
            EXPECT_TRUE(verb.size() == 1 || outcome.out == row.answer + "\n") << outcome.out;
        }
    }
}

} // namespace
