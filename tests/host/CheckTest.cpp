// check and watch on a machine that changes between and under them.
#include "tests/host/Running.h"
#include "tests/support/MachineBuilder.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <filesystem>
#include <string>
#include <tuple>
#include <vector>

namespace
{

using nlohmann::json;
using Support::Attribute;

/// A hard disk of a family whose spare sectors are used up at 36.
json HardDisk(std::uint32_t number, const std::vector<Attribute>& attributes)
{
    json disk = Support::Disk(number);
    disk["identify"] = Support::Identity("ST3500418AS", "HDD" + std::to_string(number), 7200);
    disk["smart"] = Support::SmartPage(attributes);
    return disk;
}

std::vector<Attribute> Page(int spare, std::uint64_t pending)
{
    return {{5, spare, 9}, {9, 90, 5000}, {194, 30, 30}, {197, 100, pending}};
}

json Ssd(std::uint32_t number, int left)
{
    json disk = Support::Disk(number);
    disk["smart"] = Support::SmartPage({{9, 100, 8000}, {232, 100, 0}, {233, left, 0}});
    return disk;
}

/// The disk under the serial number of disk1.
json Twin(json disk)
{
    disk["identify"] = Support::Disk(1)["identify"];
    return disk;
}

/// A disk whose serial number is no text.
json Nameless(std::uint32_t number)
{
    json disk = Ssd(number, 50);
    std::string page(512, '\0');
    page.replace(20, 4,
                 "\xff"
                 "S  ");
    const std::string model = "NIET LSSSD2CBB42G0 7";
    page.replace(54, model.size(), model);
    disk["identify"] = testFolder.Write("identify.bin", page);
    return disk;
}

json Silent(std::uint32_t number)
{
    json disk = Support::Disk(number);
    disk["faults"] = {"identify"};
    return disk;
}

} // namespace

// Each row sees what the rows before it left in the state file.
TEST(CheckVerb, OneLineAndItsCode)
{
    const json well = HardDisk(0, Page(100, 0));
    const std::tuple<std::vector<json>, Arguments, int, std::string> cases[] = {
        {{well, Ssd(1, 50)}, {}, 0, "TARNIS OK - 2 drives well | drives=2;;;0 failing=0;;0;0"},
        {{well, Ssd(1, 50)},
         {},
         0,
         " warnings=0;0;;0 not_judged=0;;;0 'disk0_reserve'=100%;10:;10:;0;100"},
        {{well, Ssd(1, 50)}, {}, 0, " 'disk1_used'=50%;95;95;0 'disk1_reserve'=100%;10:;10:;0;100"},
        {{well, Ssd(1, 50)}, {"--expect", "3"}, 2, "2 of 3 expected drives are there"},
        {{well, Ssd(1, 50)}, {"--expect", "1"}, 1, "TARNIS WARNING - 2 of 1 expected"},
        {{HardDisk(0, Page(36, 0))}, {"disk0"}, 2, "disk0 (spare sectors used up (attribute 5 at"},
        {{HardDisk(0, Page(36, 0))}, {"HDD0"}, 2, "its threshold)"},
        {{well, Ssd(1, 4)}, {}, 2, "disk1 (endurance used 96 % (attribute 233)"},
        {{well, Ssd(1, 4)}, {"--ignore", "SERIAL1"}, 0, "1 drive well"},
        {{HardDisk(0, Page(100, 3)), Ssd(1, 50)},
         {},
         1,
         "disk0: pending sectors (attribute 197) from 0 to 3, risen since"},
        {{HardDisk(0, Page(100, 3)), Ssd(1, 50)}, {}, 0, "2 drives well"},
        {{well, Silent(1)}, {}, 2, "disk1 (it does not identify itself (I/O error))"},
        {{well}, {}, 2, "disk1 (INTEL SSDSC2BB240G7, serial SERIAL1) is gone since an earlier"},
        {{well}, {}, 2, "is gone"},
        {{well}, {"--forget"}, 0, "1 drive well"},
        {{well, Support::Disk(2)}, {}, 0, "1 drive not judged: disk2 (nothing in its SMART page"},
        {{well, Support::Disk(2)}, {"--strict"}, 3, "TARNIS UNKNOWN - 1 drive not judged"},
        {{well}, {"disk7", "a|b"}, 2, "disk7 is not there; a/b is not there; there are disk0 | "},
        // Two drives of one serial number are two.
        {{well, Ssd(1, 50), Twin(Ssd(2, 50))}, {"--forget"}, 0, "3 drives well"},
        {{well, Twin(Ssd(2, 50))}, {}, 2, "disk1 (INTEL SSDSC2BB240G7, serial SERIAL1) is gone"},
        {{well, Twin(Ssd(2, 50))}, {"disk0", "HDD0"}, 0, "1 drive well"},
        {{well, Twin(Ssd(2, 50))}, {"--forget"}, 0, "2 drives well"},
        // One that is silent keeps its name, and one without a serial number is known all the same.
        {{well, Silent(2)}, {"--ignore", "SERIAL1"}, 0, "1 drive well"},
        {{well, Silent(2), Nameless(3)}, {"--forget"}, 2, "disk2 (it does not identify"},
        {{well, Nameless(3)}, {}, 2, "disk2 is gone since an earlier check"},
        {{well, Nameless(3)}, {"--forget"}, 0, "1 drive not judged: disk3"},
        {{well, Nameless(3)}, {}, 0, "1 drive not judged: disk3"},
        {{well}, {}, 2, "disk3 (INTEL SSDSC2BB240G7, serial S\xEF\xBF\xBD) is gone"},
        {{}, {"--forget"}, 3, "no drive answers"},
    };
    for (const auto& [disks, arguments, exitCode, said] : cases)
    {
        Arguments all{"check", "--machine", PutMachine(disks)};
        all.insert(all.end(), arguments.begin(), arguments.end());
        const Outcome outcome = RunTarnisctl(all);
        EXPECT_EQ(outcome.exitCode, exitCode) << said << outcome.out << outcome.err;
        EXPECT_TRUE(Holds(outcome.out, said)) << said << '\n' << outcome.out;
        EXPECT_EQ(CountLines(outcome.out), 1U) << outcome.out;
    }
    const std::string failing = PutMachine({HardDisk(0, Page(36, 0))});
    EXPECT_EQ(RunTarnisctl({"check", "--quiet", "--machine", failing}).out, "");
    // Whatever is wrong with check itself is unknown, and hides no drive that fails.
    const std::string drive = R"("label": "disk0", "model": "", "serial": "", "pending": null)";
    const std::string inVersion1 = R"(, "version": 1})";
    for (const std::string& content :
         {std::string("{"), std::string(4 << 20, '['), R"({"drives": [])" + inVersion1 + "]",
          R"([{"drives": [])" + inVersion1 + "]", R"({"drives": [3])" + inVersion1,
          R"({"drives": [{)" + drive + "}]" + inVersion1,
          R"({"drives": [{)" + drive + R"(, "uncorrectable": -1}])" + inVersion1,
          R"({"drives": [], "more": {"version": 1})" + inVersion1, R"({"x": 0)" + inVersion1})
    {
        testFolder.Write("tarnisctl-check.json", content);
        const Outcome both = RunTarnisctl({"check", "--machine", failing});
        EXPECT_EQ(both.exitCode, 2);
        EXPECT_TRUE(Holds(both.out, "check.json does not hold what is kept there; check --forget"))
            << content.substr(0, 200) << '\n'
            << both.out;
    }
    const std::string machine = PutMachine({well});
    EXPECT_EQ(RunTarnisctl({"check", "--expect", "1", "--machine", machine}).exitCode, 0);
    for (const Arguments& wrong :
         {Arguments{"check", "--machine", machine}, Arguments{"check", "--machine", "none"},
          Arguments{"--machine", machine, "check", "--bogus"},
          Arguments{"check", "--expect", "many"},
          Arguments{"check", "disk0", "--forget", "--machine", machine},
          Arguments{"check", "adapter", "--machine", machine}})
    {
        const Outcome outcome = RunTarnisctl(wrong);
        EXPECT_EQ(outcome.exitCode, 3);
        EXPECT_TRUE(outcome.out.starts_with("TARNIS UNKNOWN - ")) << outcome.out;
    }
    EXPECT_EQ(RunTarnisctl({"check", "--quiet", "--bogus"}).out, "");
    std::filesystem::remove(testFolder.File("tarnisctl-check.json"));
}

TEST(ShowVerb, ASilentDriveIsTroubleAndADriveIsShownInFull)
{
    const std::string machine =
        PutMachine({HardDisk(0, Page(40, 7)), Ssd(1, 50), Silent(2), Support::Disk(257)});
    const std::string text = RunTarnisctl({"--machine", machine}).out;
    for (const char* line :
         {"!! 2 of 4 drives in trouble\n",
          "!! disk0  failing  SEAGATE ST3500418AS, serial HDD0\n     reserve left 6 % (attribute "
          "5)",
          "!! disk2  does not answer\n     it does not identify itself (I/O error)\n",
          "   Note, disk0: 7 pending sectors (attribute 197)\n",
          "   Note, disk257: judged by the SMART page of disk1 or its own"})
        EXPECT_TRUE(Holds(text, line)) << line << text;
    const std::string full = RunTarnisctl({"show", "HDD0", "disk2", "--machine", machine}).out;
    for (const char* line :
         {"Exact size                240057409536 bytes\n", "<- reserve left\n",
          "  5  Reallocated sectors     40     40         36     6 %     9  <- reserve left",
          "disk2  does not answer\n"})
        EXPECT_TRUE(Holds(full, line)) << line << full;
    const std::string table = RunTarnisctl({"show", "-o", "disk,model", "--sort", "model",
                                            "--no-header", "--machine", machine})
                                  .out;
    EXPECT_TRUE(table.ends_with("   disk1    INTEL SSDSC2BB240G7\n   disk257  INTEL SSDSC2BB240G7\n"
                                "!! disk0    SEAGATE ST3500418AS\n!! disk2    -\n"))
        << table;
}
