// The rows of the shared database as another program sees them, and what the plug-in sends for
// them: at start, pass by pass, and when the database refuses.
#include "database/SafeText.h"
#include "database/Schema.h"
#include "database/Storage.h"
#include "tests/support/MachineBuilder.h"
#include "tests/support/RecordingDatabase.h"
#include "tests/support/SteppedPlugin.h"

#include <boost/algorithm/string.hpp>

#include <cstdlib>
#include <filesystem>
#include <map>
#include <random>
#include <regex>
#include <set>

using namespace Support;

namespace
{

using Texts = std::vector<std::string>;

/// A text with words replaced.
std::string Filled(std::string text, const std::vector<std::pair<std::string, std::string>>& names)
{
    for (const auto& [name, value] : names)
        boost::algorithm::replace_all(text, name, value);
    return text;
}

nlohmann::json Partition(const std::string& name, std::uint64_t bytes = 1000)
{
    return {{"name", name}, {"bytes", bytes}};
}

nlohmann::json DiskWith(std::uint32_t number, const std::vector<Attribute>& attributes,
                        const std::vector<nlohmann::json>& partitions)
{
    nlohmann::json disk = Disk(number);
    disk["smart"] = SmartPage(attributes);
    disk["partitions"] = partitions;
    return disk;
}

} // namespace

class Rows : public SteppedTest
{
  protected:
    Rows() { NewDatabase(); }
    ~Rows() override
    {
        m_Plugin.reset();
        Database().SetRule(nullptr);
        unsetenv("TARNIS_TRACE_MASK");
    }

    static RecordingDatabase& Database() { return RecordingDatabase::Get(); }

    void NewDatabase()
    {
        m_File = m_Folder.File(std::to_string(++m_Files) + ".db");
        setenv("TARNIS_DATABASE", m_File.c_str(), 1);
    }

    /// @return the trace lines
    std::string Start(const nlohmann::json& machine)
    {
        UseMachine(machine);
        return Traced([this] { StartPlugin(); });
    }

    /// @return the trace lines
    std::string Pass()
    {
        AdvanceClock(Day); // SMART pages are read anew
        return Traced([this] { EXPECT_TRUE(m_Plugin->Pass()); });
    }
    std::string Pass(const nlohmann::json& machine)
    {
        UseMachine(machine);
        return Pass();
    }

    template <class Action> static std::string Traced(Action action)
    {
        testing::internal::CaptureStderr();
        action();
        static const std::regex prefix(R"([^\n]* 128 tarnis/Src/[^\]\n]*\] )");
        static const std::regex reason(R"( constraint failed[^)]*\))");
        const std::string text = testing::internal::GetCapturedStderr();
        return std::regex_replace(std::regex_replace(text, prefix, ""), reason, "");
    }

    /// Statements since the last call without values that are NULL, an INSERT without any; the
    /// number of the adapter among all as "G".
    static std::string Sent()
    {
        static const std::regex unset(", \\w+=NULL");
        std::string text;
        for (std::string& statement : std::exchange(Database().sent, {}))
        {
            if (statement.find(" VALUES(") != std::string::npos)
                statement.erase(statement.find(" ("));
            text += std::regex_replace(statement, unset, "") + '\n';
        }
        return Filled(text, {{std::to_string(GlobalNumber()), "G"}});
    }

    static std::int32_t GlobalNumber()
    {
        PI::CGlobalAdapterID id("localhost");
        id.SetAdapterUniqueID(0);
        id.GenerateUniqueAdapterNumber();
        return static_cast<std::int32_t>(id.GetGlobalAdapterNumber());
    }

    Texts Seen(const std::string& sql) const { return OtherProgram(m_File).Run(sql); }

    /// How many rows each table has.
    std::string Counts() const
    {
        return Seen("SELECT (SELECT count(*) FROM raid_plugin), (SELECT count(*) FROM raid_adapter)"
                    ", (SELECT count(*) FROM raid_pd), (SELECT count(*) FROM raid_partition)")
            .at(0);
    }

    std::string m_File;

  private:
    int m_Files = 0;
};

TEST_F(Rows, StatementsOfOneDrive)
{
    const std::string start = R"(SELECT MAX(ID) FROM raid_plugin
INSERT INTO raid_plugin
SELECT MAX(ID) FROM raid_adapter
{on}INSERT INTO raid_adapter
SELECT MAX(ID) FROM raid_pd
{on}INSERT INTO raid_pd
SELECT MAX(ID) FROM raid_partition
{on}INSERT INTO raid_partition
)";
    const std::string pass =
        R"x(SELECT * FROM raid_plugin plg  WHERE plg.plg_pluginName = 'AHCI-Plugin'
UPDATE raid_plugin SET ID=1, plg_objectId=85849867896750080, plg_pluginName="AHCI-Plugin",
  plg_pollInterval=30, plg_settableProperties="{""settableProperties"":[{""name"":""pollinterval"",
  ""formatStr"":""<int32>[2..255, 1]""}]}", plg_uniqueId="Plugin:ID=305",
  plg_vendorName="Microsoft Corporation", plg_version="7.8.1" WHERE ID = 1;
SELECT * FROM raid_adapter adp  WHERE ( adp.adp_globalAdapterNumber = 'G')
  AND ( adp.adp_hostName = 'localhost')#
{on}UPDATE raid_adapter SET ID=1, adp_list2="", adp_list5="", adp_driverName="storahci",
  adp_driverVersion="10.0.19041.3636", adp_list62="", adp_globalAdapterNumber=G, adp_int71=-1,
  adp_hostName="localhost", adp_objectId=85849867896750081, adp_zeroField=0,
  adp_displayName="Windows Advanced Host Controller Interface",
  adp_productName="Advanced Host Controller Interface", adp_list116="", adp_statusName="OK",
  adp_list139="", adp_uniqueId="PCI:Bus=0&Device=0&Function=0",
  adp_vendorName="Microsoft Corporation" WHERE ID = 1;
SELECT * FROM raid_pd pd  WHERE ( ( pd.pd_globalAdapterNumber = 'G')
  AND ( pd.pd_hostName = 'localhost') ) AND ( pd.pd_deviceNumber = '0')#
{on}UPDATE raid_pd SET ID=1, pd_list3="", pd_configurableSize=228936, pd_deviceNumber=0,
  pd_endOfLifeDate="{date}", pd_firmwareVersion="FW0001", pd_globalAdapterNumber=G, pd_list17="",
  pd_int18=-1, pd_hostName="localhost", pd_objectId=85849867896750082, pd_mediaTypeName="SSD",
  pd_displayName="INTEL SSDSC2BB240G7 (0)", pd_osDevice="Disk 0", pd_physicalSize=228936,
  pd_portNumber=0, pd_powerOnHours=8000, pd_productName="SSDSC2BB240G7",
  pd_ratedEndurancePercent=3, pd_remainingReserveSpace=88.000000, pd_serialNumber="SERIAL0",
  pd_deviceNumberCopy=0, pd_statusName="OPERATIONAL", pd_temperature=23,
  pd_writtenVolume=32768.000000, pd_typeName="SATA", pd_uniqueId="{key}", pd_vendorName="INTEL",
  pd_ratedEndurancePercentCopy=3 WHERE ID = 1;
SELECT ID FROM raid_partition prt  WHERE prt.prt_driveUniqueId = '{key}'
SELECT * FROM raid_partition prt  WHERE prt.prt_driveUniqueId = '{key}'
)x";
    const std::string changed =
        R"({on}UPDATE raid_partition SET ID=1, prt_globalAdapterNumber=G, prt_partText3="L",
  prt_int3=-1, prt_hostName="localhost", prt_partText6="s", prt_partNumber2=1000,
  prt_partText5="u", prt_partNumber1=4096, prt_partText4="t", prt_partIndex=2,
  prt_driveUniqueId="{key}", prt_partText2="x", prt_partText1="/a",
  prt_partitionName="P" WHERE ID = 1;
)";
    const auto sent = [&](const std::string& text, const char* date)
    {
        EXPECT_EQ(Sent(), Filled(text, {{",\n  \"\"", ",\"\""},
                                        {"\n  ", " "},
                                        {"#\n", " \n"},
                                        {"{on}", "PRAGMA foreign_keys = ON; "},
                                        {"{key}", "PCI:Bus=0&Device=0&Function=0&ID=0"},
                                        {"{date}", date}}));
    };
    nlohmann::json disk = DiskWith(
        0, {{9, 1, 8000}, {194, 1, 23}, {232, 88, 0}, {233, 97, 0}, {241, 1, 1}}, {Partition("P")});
    disk["partitions"][0].update({{"start", 4096}, {"index", 2}, {"mount", "/a"}, {"label", "L"}});
    disk["partitions"][0].update(
        {{"filesystem", "x"}, {"type", "t"}, {"uuid", "u"}, {"state", "s"}});
    Start(MachineWith({disk}));
    sent(start, "");
    const Texts rows = AllRows(m_File);
    EXPECT_TRUE(m_Plugin->Pass());
    sent(pass, "2055-08-06");
    EXPECT_EQ(AllRows(m_File), rows);
    nlohmann::json other = disk;
    for (const auto& [member, value] : other["partitions"][0].items())
    {
        if (member == "name")
            continue;
        value = value.is_number() ? nlohmann::json(7) : nlohmann::json("changed");
        UseMachine(MachineWith({other}));
        EXPECT_TRUE(m_Plugin->Pass());
        EXPECT_NE(Sent().find("; UPDATE raid_partition SET ID=1, "), std::string::npos) << member;
    }
    UseMachine(MachineWith({disk}));
    EXPECT_TRUE(m_Plugin->Pass());
    sent(pass + changed, "2055-08-06");
    EXPECT_EQ(AllRows(m_File), rows);
    Pass();
    sent(pass, "2055-08-07");
    Pass(MachineWith({}));
    EXPECT_NE(Sent().find("PRAGMA foreign_keys = ON; DELETE FROM raid_pd  WHERE ( ( "
                          "pd_globalAdapterNumber = 'G') AND ( pd_hostName = 'localhost') ) AND ( "
                          "pd_deviceNumber = '0') \n"),
              std::string::npos);
    EXPECT_EQ(Counts(), "1|1|0|0");
}

// Each statement is refused once: what is traced, that the host sees no difference, and that the
// next pass makes up for it.
TEST_F(Rows, RefusedStatements)
{
    const std::string adapter = "Adapter (Windows Advanced Host Controller Interface (0)) (" +
                                std::to_string(GlobalNumber()) + ")";
    const std::vector<std::pair<std::string, std::string>> names = {
        {"{adapter}", adapter},
        {"{drive0}", "PD (INTEL SSDSC2BB240G7 (0)) (0)"},
        {"{drive1}", "PD (INTEL SSDSC2BB240G7 (1)) (1)"},
        {"{drive2}", "PD (INTEL SSDSC2BB240G7 (2)) (2)"},
        {"{query}", "Storage query exception thrown during "},
        {"{id}", "Storage query exception thrown! Cannot read ID from database! ({no})"},
        {"{no}", "Storage query exception thrown! (no)"},
        {"{fk}", "Storage query exception thrown! (FOREIGN KEY)"}};
    const auto lines = [&](const std::string& text)
    {
        Texts all;
        boost::split(all, Filled(Filled(text, names), names), boost::is_any_of("\n"));
        return all;
    };
    const Texts normal[] = {lines(R"(Plugin AHCI inserted to db.
{adapter} inserted to db.
{drive0} inserted to db.
AHCI Partition ( stay on localhost ) inserted to db.
AHCI Partition ( change on localhost ) inserted to db.
AHCI Partition ( gone on localhost ) inserted to db.
{drive1} inserted to db.
AHCI Partition ( Disk 1 Partition 1 on localhost ) inserted to db.)"),
                            lines(R"(Plugin AHCI updated in db.
{adapter} entry updated in db.
{drive2} inserted to db.
AHCI Partition ( Disk 2 Partition 1 on localhost ) inserted to db.
{drive0} entry updated in DB.
AHCI Partition (stay on localhost) updated in db.
AHCI Partition (change on localhost) updated in db.
AHCI Partition (new on localhost) inserted to db.
AHCI Partition (gone on localhost) removed from db.
{drive2} entry updated in DB.
AHCI Partition (Disk 2 Partition 1 on localhost) updated in db.
{drive1} removed from DB.)")};
    // "start" or "pass" and what is refused there; below it the traces in the place of others, by
    // their number, and the numbers of those that are missing.
    const Texts cases = lines(R"(start nothing at all
start INTO raid_plugin
0 {query}inserting AHCI plugin to db. ({no})
start INTO raid_adapter
1 Exception thrown during inserting {adapter} to db. ({no})
start INTO raid_pd
2 Exception thrown during inserting {drive0} to db. ({no})
3 {query}inserting localhost AHCI partition (stay) to DB. ({fk})
4 {query}inserting localhost AHCI partition (change) to DB. ({fk})
5 {query}inserting localhost AHCI partition (gone) to DB. ({fk})
6 Exception thrown during inserting {drive1} to db. ({no})
7 {query}inserting localhost AHCI partition (Disk 1 Partition 1) to DB. ({fk})
start "change")
4 {query}inserting localhost AHCI partition (change) to DB. ({no})
pass FROM raid_plugin plg|FROM raid_adapter|pd.pd_deviceNumber = '0'
0 Exception thrown during updating AHCI plugin object in db. ({no})
1 Exception thrown during updating {adapter} entry in db. ({no})
4 {query}updating {drive0} in DB. ({no})
pass UPDATE raid_plugin|UPDATE raid_adapter|pd_deviceNumber=0,
0 Exception thrown during updating AHCI plugin object in db. (no)
1 Exception thrown during updating {adapter} entry in db. (no)
4 {query}updating {drive0} in DB. (no)
pass INTO raid_pd
2 Exception thrown during inserting {drive2} to db. ({no})
3 {query}inserting localhost AHCI partition (Disk 2 Partition 1) to DB. ({fk})
9
10 {query}updating AHCI Partition (Disk 2 Partition 1 on localhost) in db. ({fk})
pass INTO raid_partition
3 {query}inserting localhost AHCI partition (Disk 2 Partition 1) to DB. ({no})
7 {query}updating AHCI Partition (new on localhost) in db. ({no})
8
10 {query}updating AHCI Partition (Disk 2 Partition 1 on localhost) in db. ({no})
pass SELECT ID FROM raid_partition
5 {query}updating AHCI partitions in db. ({no})|AHCI Partition (stay on localhost) updated in db.
10 {query}updating AHCI partitions in db. ({no})|AHCI Partition (Disk 2 Partition 1 on localhost) updated in db.
pass * FROM raid_partition
5 {query}updating AHCI Partition ( on localhost) in db. ({no})
6
7
8
10 {query}updating AHCI Partition ( on localhost) in db. ({no})
pass UPDATE raid_partition
6 {query}updating AHCI Partition (change on localhost) in db. (no)
7
8
pass DELETE FROM raid_partition
8 {query}updating AHCI Partition (gone on localhost) in db. ({no})
pass DELETE FROM raid_pd
11 {query}removing {drive1} from DB. ({no}))");
    setenv("TARNIS_TRACE_MASK", "128", 1);
    unsetenv("TARNIS_TRACE_FILE");
    const auto before = MachineWith(
        {DiskWith(0, {}, {Partition("stay"), Partition("change"), Partition("gone")}), Disk(1)});
    const auto after = MachineWith(
        {DiskWith(0, {}, {Partition("stay"), Partition("change", 2), Partition("new")}), Disk(2)});
    std::string pictures;
    Texts rows;
    for (std::size_t i = 0; i < cases.size();)
    {
        SCOPED_TRACE(cases[i]);
        const std::size_t refusing = cases[i].starts_with("pass") ? 1 : 0;
        const std::string refused = cases[i].substr(cases[i].find(' ') + 1);
        Texts expected[] = {normal[0], normal[1]};
        for (++i; i < cases.size() && std::isdigit(static_cast<unsigned char>(cases[i][0])); ++i)
        {
            const auto text = cases[i].find(' ');
            expected[refusing].at(std::stoul(cases[i])) =
                text == std::string::npos ? "" : cases[i].substr(text + 1);
        }
        const auto traced = [&](std::size_t step, const auto& run)
        {
            Database().SetRule(step == refusing ? Refusing(refused) : nullptr);
            std::erase(expected[step], ""); // the missing ones
            const std::string text = boost::algorithm::join(expected[step], "\n") + '\n';
            EXPECT_EQ(run(), Filled(text, {{"|", "\n"}}));
            Database().SetRule(nullptr);
        };
        NewDatabase();
        SetClock(1770000000000);
        traced(0, [&] { return Start(before); });
        std::string seen = Picture();
        Pass();
        traced(1, [&] { return Pass(after); });
        seen += Picture();
        Pass();
        std::vector<PI::CEvent> events;
        EXPECT_EQ(Execute(PI::OP_GET_EVENTS, events), 0);
        EXPECT_EQ(events.size(), 2U);
        m_Plugin.reset();
        if (rows.empty())
        {
            pictures = seen;
            rows = AllRows(m_File);
        }
        EXPECT_EQ(seen, pictures);
        EXPECT_EQ(AllRows(m_File), rows);
    }
}

TEST_F(Rows, ReadingsAndNames)
{
    const auto drive = [](std::uint32_t number, const std::vector<Attribute>& attributes,
                          const std::vector<nlohmann::json>& partitions = {})
    {
        nlohmann::json disk = DiskWith(number, attributes, partitions);
        disk["identify"] = Identity("MICRON 5300_MTFDDAK480TDS", "S");
        return disk;
    };
    nlohmann::json silent = Disk(5), spinning = DiskWith(6, {{9, 1, 0x100000007}}, {});
    silent.erase("smart");
    spinning["identify"] = Identity("ST4000DM004", "S", 7200);
    spinning["bytes"] = 1048575;
    // Spare sectors, 9 and 10 percent above the threshold of 5.
    const auto disk = [&](std::uint32_t number, int spare)
    {
        nlohmann::json one = DiskWith(number, {{2, 1, 0}, {5, spare, 0}, {8, 1, 0}}, {});
        one["identify"] = Identity("HGST HUS726040ALE614", "S", 7200);
        return one;
    };
    // 170: reserve left, used up at 10; 202: percent used; 246: sectors written. Life left is told
    // from the hours and the percentage.
    Start(MachineWith(
        {drive(0, {{194, 0, 0}, {202, 1, 0}, {170, 11, 0}, {246, 1, 1}}),
         drive(1, {{194, 1, 127}, {202, 1, 95}, {170, 100, 0}, {246, 1, 1ULL << 38}}),
         drive(2, {{202, 1, 150}}), drive(3, {{202, 1, 95}, {170, 0, 0}}, {Partition("P")}),
         drive(4, {{9, 1, 1439}, {202, 1, 50}}), silent, spinning,
         drive(7, {{9, 1, 1440}, {202, 1, 50}}), drive(8, {{202, 1, 96}}, {Partition("Q")}),
         drive(9, {{170, 10, 0}}), disk(10, 14), disk(11, 15)}));
    const Texts expected = {
        "0|NULL|0|0|11.0|NULL|NULL|NULL|AVAILABLE|SSD|228936",
        "1|127|95|95|100.0|137438953472.0|NULL|NULL|AVAILABLE|SSD|228936",
        "2|NULL|100|100|NULL|NULL|NULL|2026-02-02|AVAILABLE_SMART|SSD|228936",
        "3|NULL|95|95|NULL|NULL|NULL|NULL|AVAILABLE_SMART|SSD|228936",
        "4|NULL|50|50|NULL|NULL|1439|2026-04-03|AVAILABLE_SMART|SSD|228936",
        "5|NULL|NULL|NULL|NULL|NULL|NULL|NULL|OPERATIONAL|SSD|228936",
        "6|NULL|NULL|NULL|NULL|NULL|7|NULL|AVAILABLE|HDD|0",
        "7|NULL|50|50|NULL|NULL|1440|2026-04-03|AVAILABLE|SSD|228936",
        "8|NULL|96|96|NULL|NULL|NULL|NULL|AVAILABLE_SMART|SSD|228936",
        "9|NULL|NULL|NULL|NULL|NULL|NULL|NULL|AVAILABLE_SMART|SSD|228936",
        "10|NULL|NULL|NULL|9.0|NULL|NULL|NULL|AVAILABLE_SMART|HDD|228936",
        "11|NULL|NULL|NULL|10.0|NULL|NULL|NULL|AVAILABLE|HDD|228936",
    };
    const char* const columns =
        "SELECT pd_deviceNumber, pd_temperature, pd_ratedEndurancePercent, "
        "pd_ratedEndurancePercentCopy, pd_remainingReserveSpace, pd_writtenVolume, "
        "pd_powerOnHours, pd_endOfLifeDate, pd_statusName, pd_mediaTypeName, pd_physicalSize "
        "FROM raid_pd ORDER BY 1";
    EXPECT_EQ(Seen(columns), expected);
    EXPECT_EQ(Seen("SELECT adp_statusName FROM raid_adapter"), Texts{"WARNING"});
}

TEST_F(Rows, OverRestartsAndOtherHands)
{
    const auto rows = [&](const char* expected) { EXPECT_EQ(Counts(), expected); };
    const std::string ids = "SELECT ID, pd_deviceNumber, pd_serialNumber FROM raid_pd ORDER BY 2";
    Database().SetRule(Refusing(""));
    Start(MachineOf(3));
    Database().SetRule(nullptr);
    Pass(); // makes up for the start
    rows("1|1|3|3");
    const Texts before = Seen(ids);

    m_Plugin.reset();
    Start(MachineOf(3)); // makes no second row
    rows("1|1|3|3");
    Pass();
    EXPECT_EQ(Seen(ids), before);

    nlohmann::json replaced = Disk(1);
    replaced["identify"]["serial"] = "NEW";
    Pass(MachineWith({Disk(0), replaced, Disk(2)}));
    EXPECT_EQ(Seen(ids), (Texts{before[0], Filled(before[1], {{"SERIAL1", "NEW"}}), before[2]}));
    rows("1|1|3|3");

    // Rows of other hosts and adapters are none of ours.
    OtherProgram other(m_File);
    other.Run("INSERT INTO raid_pd (pd_hostName, pd_globalAdapterNumber, pd_deviceNumber) VALUES "
              "('localhost', 1, 7)");
    other.Run("INSERT INTO raid_pd (pd_hostName, pd_globalAdapterNumber, pd_deviceNumber) SELECT "
              "'elsewhere', pd_globalAdapterNumber, 7 FROM raid_pd WHERE pd_deviceNumber = 0");
    other.Run("INSERT INTO raid_plugin (plg_pluginName) VALUES ('another')");
    m_Plugin.reset();
    Start(MachineOf(2)); // a drive went while nothing ran
    rows("2|1|5|3");
    Pass();
    rows("2|1|4|2");

    // A row that somebody removed is found missing by one pass, and comes back with the next.
    Pass();
    other.Run("PRAGMA foreign_keys = ON");
    other.Run("DELETE FROM raid_adapter");
    other.Run("DELETE FROM raid_pd WHERE pd_deviceNumber = 0");
    other.Run("DELETE FROM raid_plugin WHERE plg_pluginName != 'another'");
    Pass();
    rows("1|0|3|1");
    Pass();
    rows("2|1|4|2");
}

// A process that may read fewer drives than another one leaves their rows alone.
TEST_F(Rows, OfDrivesThatAnswerOthers)
{
    const auto machine = [](const std::vector<std::string>& faults)
    {
        nlohmann::json silent = Disk(1);
        silent["faults"] = faults;
        return MachineWith({Disk(0), silent, Disk(2)});
    };
    const std::string numbers = "SELECT group_concat(pd_deviceNumber) FROM raid_pd";
    for (const char* fault : {"open", "device_number"})
    {
        Start(machine({}));
        m_Plugin.reset();
        Start(machine({fault}));
        Pass(); // catches up: the inserts of this start found the rows there
        EXPECT_EQ(Seen(numbers), Texts{"0,1,2"}) << fault;
        Pass(MachineWith({Disk(0), Disk(2)}));
        EXPECT_EQ(Seen(numbers), Texts{"0,2"}) << "gone, and never seen, by " << fault;
        m_Plugin.reset();
    }
    Start(MachineOf(1));
    Pass();
    EXPECT_EQ(Seen(numbers), Texts{"0"}) << "gone from the tree";

    // Seen to go, and refused: made up for.
    Pass(machine({}));
    EXPECT_EQ(Seen(numbers), Texts{"0,1,2"});
    Database().SetRule(Refusing("DELETE"));
    Pass(machine({"open"}));
    EXPECT_EQ(Seen(numbers), Texts{"0,1,2"});
    Database().SetRule(nullptr);
    Pass();
    EXPECT_EQ(Seen(numbers), Texts{"0,2"});
    OtherProgram(m_File).Run("INSERT INTO raid_pd (pd_hostName, pd_globalAdapterNumber, "
                             "pd_deviceNumber) SELECT pd_hostName, pd_globalAdapterNumber, 1 FROM "
                             "raid_pd WHERE pd_deviceNumber = 0");
    Pass();
    EXPECT_EQ(Seen(numbers), Texts{"0,1,2"}) << "another process sees it";
}

// A failure in the pass that makes up for another one is made up for, too.
TEST_F(Rows, RefusedAndRefusedAgain)
{
    for (const char* const again :
         {"raid_plugin plg", "raid_adapter adp", "pd.pd_deviceNumber", "INTO"})
    {
        NewDatabase();
        Database().SetRule(Refusing(""));
        Start(MachineWith({DiskWith(0, {}, {})}));
        std::vector<PI::CEvent> events;
        EXPECT_EQ(Execute(PI::OP_GET_EVENTS, events), 0) << "the host sees no database";
        Database().SetRule(Refusing(again));
        Pass();
        Database().SetRule(nullptr);
        Pass();
        m_Plugin.reset();
        EXPECT_EQ(Counts(), "1|1|1|0") << again;
    }
}

TEST_F(Rows, PartitionsThatChangeDrives)
{
    const auto machine = [](const char* first, const char* second)
    {
        return MachineWith(
            {DiskWith(0, {}, {Partition(first)}), DiskWith(1, {}, {Partition(second)})});
    };
    Start(machine("a", "b"));
    Pass();
    for (const auto& [first, second] : {std::pair{"b", "a"}, {"a", "b"}})
    {
        for (int pass = 0; pass < 3; ++pass)
            Pass(machine(first, second));
        EXPECT_EQ(Seen("SELECT prt_partitionName FROM raid_partition ORDER BY prt_driveUniqueId"),
                  (Texts{first, second}));
    }
}

TEST_F(Rows, ThePluginRow)
{
    Start(MachineOf(1));
    Pass();
    Sent();
    const std::string interval = "SELECT poll_seconds FROM plugins";
    EXPECT_EQ(SetInterval(77), 0);
    EXPECT_EQ(Sent(), ""); // not at once
    EXPECT_EQ(Seen(interval), Texts{"30"});
    std::vector<PI::CEvent> events;
    for (const PI::_OPERATION_ID id : {PI::OP_GET_EVENTS, static_cast<PI::_OPERATION_ID>(50099)})
    {
        EXPECT_EQ(Execute(id, events) == 0, id == PI::OP_GET_EVENTS);
        const std::string sent = Sent(); // whatever the outcome
        EXPECT_EQ(sent.substr(0, sent.find('\n')),
                  "SELECT * FROM raid_plugin plg  WHERE plg.plg_pluginName = 'AHCI-Plugin'");
        EXPECT_NE(sent.find("\nUPDATE raid_plugin SET ID=1, "), std::string::npos);
    }
    EXPECT_EQ(Seen(interval), Texts{"77"});
    EXPECT_EQ(SetInterval(30), 0);
    Pass(); // the ring for the new interval
    Pass();
    EXPECT_EQ(Seen(interval), Texts{"30"});
}

namespace
{

/// Everything that could be taken for something else, alone and mixed.
Texts HostileTexts()
{
    Texts pieces;
    boost::split(pieces,
                 R"(|"|'|""|''|;|--|/*|*/|NULL|null|"NULL"|?|%s|\|`|[|]|(|x'41'|?1|:a|@b|$c)"
                 R"(|1e999|-1|0x|%|_|ID|rowid|"WHERE|PRAGMA|prt_partText1|raid_partition)"
                 R"(|'; DROP TABLE raid_pd; --|"); DELETE FROM raid_pd; --| |, | = )",
                 boost::is_any_of("|"));
    for (const char* piece : {"|", "\n", "\xFF", "\xED\xA0\x80", "\xC3\xA9", "\xC3"})
        pieces.emplace_back(piece);
    pieces.emplace_back(1, '\0');
    const std::size_t count = Amount("TARNIS_TEST_HOSTILE", 2000 / Slowness);
    Texts texts = pieces;
    std::mt19937 random(20261122);
    while (texts.size() < count)
    {
        std::string text;
        const std::size_t parts = texts.size() == pieces.size() ? 250000 : 2 + random() % 6;
        for (std::size_t part = 0; part < parts; ++part)
            text += pieces[random() % pieces.size()];
        texts.push_back(text);
    }
    return texts;
}

/// Drive 0 has the partitions that a test gives it, whatever their bytes.
class PartitionMachine : public Platform::Machine
{
  public:
    explicit PartitionMachine(Platform::Machine& machine) : m_Machine(machine) {}

    std::shared_ptr<const Platform::DeviceTree> ReadDeviceTree() override
    {
        return m_Machine.ReadDeviceTree();
    }
    DWORD OpenDevice(const std::string& path, bool writable,
                     std::unique_ptr<Platform::Device>& device) override
    {
        return m_Machine.OpenDevice(path, writable, device);
    }
    bool ModuleVersion(const std::string&, std::string&) override { return false; }
    bool Partitions(DWORD number, std::vector<ZKTX::CSystemPartition>& partitions) override
    {
        if (number != 0)
            return m_Machine.Partitions(number, partitions);
        partitions = given;
        return true;
    }

    std::vector<ZKTX::CSystemPartition> given;

  private:
    Platform::Machine& m_Machine;
};

} // namespace

TEST_F(Rows, HostileTextsOfPartitions)
{
    const auto machine = std::make_shared<PartitionMachine>(UseMachine(MachineOf(2)));
    Platform::SetCurrentMachine(machine);
    Texts expected;
    std::set<std::string> names;
    for (const std::string& text : HostileTexts())
    {
        ZKTX::CSystemPartition partition;
        partition.m_Index = static_cast<std::int32_t>(expected.size());
        partition.m_Text1 = partition.m_Text2 = partition.m_Text3 = text;
        partition.m_Text4 = partition.m_Text5 = partition.m_Text6 = text;
        std::string kept = DatabaseORM::KeptText(text);
        EXPECT_TRUE(DatabaseORM::KeptText(kept) == kept);
        const bool isNew = names.insert(kept).second;
        partition.m_PartitionName = isNew ? text : text + std::to_string(partition.m_Index) + "#";
        expected.push_back(DatabaseORM::KeptText(partition.m_PartitionName));
        for (int i = 0; i < 6; ++i)
            expected.back() += '|' + kept;
        machine->given.push_back(partition);
    }
    const auto everythingElse = [this]
    {
        Texts rows;
        for (const char* from : {"sqlite_master", "raid_plugin", "raid_adapter", "raid_pd",
                                 "raid_partition WHERE prt_driveUniqueId LIKE '%ID=1'"})
            for (const std::string& row : Seen(std::string("SELECT * FROM ") + from))
                rows.push_back(row);
        return rows;
    };
    const std::string ours =
        "SELECT prt_partitionName, prt_partText1, prt_partText2, "
        "prt_partText3, prt_partText4, prt_partText5, prt_partText6 FROM "
        "raid_partition WHERE prt_driveUniqueId LIKE '%ID=0' ORDER BY prt_partIndex";
    using Changes = std::map<std::string, std::size_t>;
    const auto changesInPass = [this]
    {
        Database().sent.clear();
        EXPECT_TRUE(m_Plugin->Pass());
        Changes changes;
        for (const std::string& statement : Database().sent)
            for (const std::string verb : {"INSERT INTO", "UPDATE", "DELETE FROM"})
                if (statement.substr(0, 60).find(verb + " raid_partition") != std::string::npos)
                    ++changes[verb];
        return changes;
    };

    StartPlugin();
    ASSERT_TRUE(m_Plugin->Pass()); // the first one, which comes by itself
    EXPECT_TRUE(Seen(ours) == expected);
    EXPECT_EQ(changesInPass(), Changes()); // and all of it reads back as it was
    const Texts before = everythingElse();
    for (ZKTX::CSystemPartition& partition : machine->given)
        partition.m_Text3 += "'\"";
    EXPECT_EQ(changesInPass(), (Changes{{"UPDATE", expected.size()}}));
    EXPECT_EQ(changesInPass(), Changes());
    machine->given.resize(1);
    EXPECT_EQ(changesInPass(), (Changes{{"DELETE FROM", expected.size() - 1}}));
    EXPECT_EQ(Seen(ours).size(), 1U);
    EXPECT_TRUE(everythingElse() == before);
    EXPECT_EQ(Seen("PRAGMA integrity_check"), Texts{"ok"});
}

TEST_F(Rows, HostileTextsOfDrives)
{
    // What a drive can tell in its page comes to the host and to the database alike.
    std::vector<nlohmann::json> disks;
    for (const std::string text : {"\"'", "';--", "NULL", "pd_ID", "a\nb\x01", "?1;\"x"})
    {
        disks.push_back(Disk(static_cast<std::uint32_t>(disks.size())));
        disks.back()["identify"] = Identity(text + " " + text, text);
        disks.back()["identify"]["firmware"] = text;
    }
    std::string page(512, ' '); // no UTF-8
    page.replace(20, 4, "\xFE\xFF\"\"");
    m_Folder.Write("page", page);
    disks.push_back(Disk(6));
    disks.back()["identify"] = "page";
    Start(MachineWith(disks));
    Pass();
    Texts told;
    for (const PI::CObject& object : m_Plugin->plugin.Topology())
        if (object.m_Type == PI::OBJECT_PHYSICAL_DRIVE)
        {
            told.emplace_back();
            for (const auto id : {PI::PROP_VENDOR, PI::PROP_PRODUCT, PI::PROP_SERIAL_NUMBER,
                                  PI::PROP_FIRMWARE_VERSION})
                told.back() += ValueText(object, id).substr(5) + '|';
        }
    EXPECT_EQ(told.at(0), "\"'|\"'|\"'|\"'|");
    EXPECT_EQ(told.at(6), "||\xFF\xFE\"\"||");
    EXPECT_EQ(Seen("SELECT vendor, product, serial, firmware, '' FROM drives ORDER BY disk"), told);
}
