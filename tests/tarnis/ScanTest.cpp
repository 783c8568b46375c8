// The picture of the machine: which drives it shows, what they were asked, and what faults do.
#include "platform/CallGate.h"
#include "platform/WindowsApi.h"
#include "tests/support/MachineBuilder.h"
#include "tests/support/PluginTest.h"

#include <algorithm>
#include <locale>
#include <map>
#include <regex>
#include <set>
#include <tuple>

using namespace Support;
using Platform::DriveCall;
using namespace std::string_literals;

namespace
{

/// Drives of a picture by disk number, each as the text of its properties.
std::map<std::string, std::string> Drives(const std::vector<PI::CObject>& objects)
{
    std::map<std::string, std::string> drives;
    for (const PI::CObject& object : objects)
        if (object.m_Type == PI::OBJECT_PHYSICAL_DRIVE)
        {
            std::string text;
            for (const PI::CProperty& property : object.m_Properties)
                text += std::to_string(property.m_ID) + '=' + ValueText(property) + '\n';
            drives[ValueText(object, PI::PROP_DEVICE_NUMBER)] = text;
        }
    return drives;
}

} // namespace

class Scan : public PluginTest
{
  protected:
    /// The whole tree of a machine, seen by a freshly loaded plug-in.
    std::vector<PI::CObject> Picture(const nlohmann::json& machine)
    {
        UseMachine(machine);
        LoadedPlugin plugin;
        EXPECT_EQ(plugin.Initialize(), PI::ERR_SUCCESS);
        return plugin.Topology();
    }
};

TEST_F(Scan, GoesOnInTheTreeThatItBeganWith)
{
    const nlohmann::json before = MachineOf(3);
    nlohmann::json after = before; // the other disks stand elsewhere in it
    nlohmann::json& nodes = after["devices"][0]["children"];
    nodes.insert(nodes.begin(), nlohmann::json{{"id", "NEW"}});
    Platform::SimulatedMachine& machine = UseMachine(before);
    LoadedPlugin plugin;
    bool isReached = true;
    int changes = 0;
    for (int changing = 1; isReached; ++changing)
    {
        std::string message;
        machine.Replace(before.dump(), message);
        int calls = 0;
        Platform::SetCallGate(
            [&](const char*)
            {
                if (++calls == changing) // another plug-in of the process walks now
                {
                    changes += machine.Replace(after.dump(), message);
                    DEVINST root = 0;
                    Platform::CM_Locate_DevNodeA(&root, nullptr, 0);
                }
                return true;
            });
        plugin.Renew();
        EXPECT_EQ(plugin.Initialize(), PI::ERR_SUCCESS) << changing;
        EXPECT_EQ(Drives(plugin.Topology()).size(), 3U) << changing;
        isReached = calls >= changing;
        Platform::SetCallGate({});
    }
    EXPECT_GT(changes, 50);
}

TEST_F(Scan, FindsDisksBelowSupportedControllersInWalkOrder)
{
    std::vector<nlohmann::json> disks;
    for (std::uint32_t number = 0; number < 12; ++number)
        disks.push_back(Disk(number));
    nlohmann::json machine = MachineWith(disks);
    nlohmann::json expander = {{"id", "EXPANDER"}, {"children", {DiskNode(7), DiskNode(6)}}};
    nlohmann::json several = DiskNode(9);
    several["disks"] = {9, 8, 9, 99}; // one number twice, and one that does not open
    nlohmann::json nested = Controller("msahci", {DiskNode(4)}, "PCI\\NESTED");
    machine["devices"] = {
        {{"id", "PCI\\ROOT"},
         {"children",
          {Controller("STORAHCI", {DiskNode(5), expander, several}, "PCI\\A"),
           Controller("usbstor", {DiskNode(0)}, "PCI\\USB"),
           Controller("iastorav", {DiskNode(1)}, "PCI\\RAID"),
           Controller("IaStorA", nlohmann::json::array(), "PCI\\EMPTY"),
           {{"id", "PCI\\BRIDGE"}, {"children", {nested}}}}}},
        {{"id", "LOOSE"}, {"service", "disk"}, {"disks", {2}}},
    };
    const std::vector<PI::CObject> picture = Picture(machine);
    std::string numbers;
    for (std::size_t i = 2; i < picture.size(); ++i)
        numbers += ValueText(picture[i], PI::PROP_DEVICE_NUMBER) + ' ';
    EXPECT_EQ(numbers, "number:5 number:7 number:6 number:9 number:8 number:9 number:4 ");
    EXPECT_EQ(picture[1].m_Children.size(), 7U);
    // Of several supported drivers the last in the walk gives its name.
    EXPECT_EQ(ValueText(picture[1], PI::PROP_DRIVER_NAME), "text:msahci");

    // Disks hang on each of the drivers.
    for (const char* const driver : {"iastora", "IASTORA", "msahci", "storahci"})
    {
        machine["devices"] = {Controller(driver, {DiskNode(3)})};
        const auto shown = Picture(machine);
        ASSERT_EQ(shown.size(), 3U) << driver;
        EXPECT_EQ(ValueText(shown[1], PI::PROP_DRIVER_NAME), "text:"s + driver);
        EXPECT_EQ(ValueText(shown[2], PI::PROP_DEVICE_NUMBER), "number:3");
    }

    // A supported controller without disks is hardware enough.
    machine["devices"] = {Controller("storahci", nlohmann::json::array())};
    EXPECT_EQ(Picture(machine).size(), 2U);
}

TEST_F(Scan, TheHostsLocaleHasNoSay)
{
    struct Grouping : std::numpunct<char>
    {
        char do_thousands_sep() const override { return ','; }
        std::string do_grouping() const override { return "\3"; }
    };
    const std::locale before =
        std::locale::global(std::locale(std::locale::classic(), new Grouping));
    m_Folder.Write("tarnis.ini", "PollInterval=45");
    UseMachine(MachineWith({Disk(12345)}));
    LoadedPlugin plugin;
    EXPECT_EQ(plugin.Initialize(), PI::ERR_SUCCESS);
    plugin.adapterIDs[0].m_GlobalAdapterID = 1234;
    EXPECT_EQ(plugin.Command(PI::COMMAND_SET_ADAPTER_IDS, 0, &plugin.adapterIDs), PI::ERR_SUCCESS);
    const auto objects = plugin.Topology();
    PI::CProperty interval(PI::PROP_POLL_INTERVAL, true);
    interval.SetValue(5000, 2, 9999, 1U);
    EXPECT_EQ(plugin.Command(PI::COMMAND_SET_PROPERTY, PluginId, &interval), PI::ERR_SUCCESS);
    EXPECT_EQ(plugin.Command(PI::COMMAND_DEINITIALIZE), PI::ERR_SUCCESS);
    std::locale::global(before);

    ASSERT_EQ(objects.size(), 3U);
    EXPECT_EQ(ValueText(objects[0], PI::PROP_POLL_INTERVAL), "range:45 in 2..255 by 1");
    EXPECT_EQ(ValueText(objects[1], PI::PROP_NAME),
              "text:Windows Advanced Host Controller Interface (1234)");
    EXPECT_EQ(ValueText(objects[2], PI::PROP_NAME), "text:INTEL SSDSC2BB240G7 (12345)");
    EXPECT_EQ(ValueText(objects[2], PI::PROP_OS_DEVICE), "text:Disk 12345");
    EXPECT_EQ(m_Folder.Read("tarnis.ini"), "PollInterval=5000");
}

TEST_F(Scan, FaultsStayWithTheirDrive)
{
    nlohmann::json healthy = MachineOf(3);
    const auto expected = Drives(Picture(healthy));
    // The second column: which of the drive's properties change, null when it is not there.
    const std::tuple<const char*, const char*, const char*> cases[] = {
        {"open", nullptr, ""},
        {"device_number", nullptr, ""},
        {"smart_version", nullptr, ""},
        {"identify", nullptr, ""},
        {"smart_data", "30069=.*\n([^]*)=number:8000", "$1=number:0"},
        {"length", "(30059|30060)=.*", "$1=number:18446744073709551615"}};
    for (const auto& [fault, changed, to] : cases)
    {
        nlohmann::json machine = healthy;
        machine["disks"][1]["faults"] = {fault};
        auto left = expected;
        if (changed)
            left["number:1"] = std::regex_replace(left["number:1"], std::regex(changed), to);
        else
            left.erase("number:1");
        EXPECT_EQ(Drives(Picture(machine)), left) << fault;
    }
    EXPECT_EQ(Platform::OpenHandleCount(), 0U);
}

TEST_F(Scan, SendsTheseCommandsAndNoOthers)
{
    nlohmann::json removable = Disk(1);
    removable["identify"]["fixed"] = false;
    nlohmann::json deaf = Disk(2);
    deaf["faults"] = {"smart_version"};
    Platform::SimulatedMachine& machine = UseMachine(MachineWith({Disk(0), removable, deaf}));
    LoadedPlugin plugin;
    std::set<std::string> pictures;
    const auto scan = [&]
    {
        machine.ClearJournal();
        EXPECT_EQ(plugin.Initialize(), PI::ERR_SUCCESS);
        const auto journal = machine.JournalEntries();
        pictures.insert(PictureText(plugin.Topology()));
        EXPECT_EQ(machine.JournalEntries(), journal); // a query asks no drive
        plugin.Renew();
        return journal;
    };
    using enum DriveCall;
    const auto whole = [](bool smartRead)
    {
        std::vector<Platform::JournalEntry> all;
        const auto add = [&](DWORD disk, std::initializer_list<DriveCall> calls)
        {
            for (const DriveCall call : calls)
                all.push_back({disk, call});
        };
        for (const DWORD disk : {0U, 1U, 2U, 0U, 1U, 2U}) // the driver check and the walk
            add(disk, {Open, DeviceNumber});
        add(0, {Open, SmartVersion, Identify});
        if (smartRead)
            add(0, {SmartData});
        add(0, {Length, Partitions});
        add(1, {Open, SmartVersion, Identify, Length, Partitions});
        add(2, {Open, SmartVersion});
        add(0, {Partitions}); // for the rows
        add(1, {Partitions});
        return all;
    };
    // A page from the future is not trusted.
    for (const auto& [later, smartRead] : {std::pair{0, true},
                                           {0, false},
                                           {300000, false},
                                           {1, true},
                                           {300000, false},
                                           {-300001, true}})
    {
        AdvanceClock(later);
        EXPECT_EQ(scan(), whole(smartRead)) << later;
    }
    EXPECT_EQ(pictures.size(), 1U); // an unchanged machine looks as before
}

TEST_F(Scan, StaleSmartPages)
{
    nlohmann::json machine = MachineOf(1);
    UseMachine(machine);
    LoadedPlugin plugin;
    const auto temperature = [&]
    {
        plugin.Renew();
        EXPECT_EQ(plugin.Initialize(), PI::ERR_SUCCESS);
        return ValueText(plugin.Topology()[2], PI::PROP_TEMPERATURE);
    };
    EXPECT_EQ(temperature(), "real:23");

    // Another drive under the same number shows the old page until that is too old.
    machine["disks"][0]["smart"] = SmartPage({{194, 70, 30}});
    Platform::SimulatedMachine& simulated = UseMachine(machine);
    EXPECT_EQ(temperature(), "real:23");
    AdvanceClock(300001);
    machine["disks"][0]["faults"] = {"smart_data"};
    UseMachine(machine);
    EXPECT_EQ(temperature(), "absent");
    const auto asked = simulated.JournalCount(0, DriveCall::SmartData);
    EXPECT_EQ(temperature(), "absent");
    EXPECT_EQ(simulated.JournalCount(0, DriveCall::SmartData), asked + 1); // tried again
    machine["disks"][0].erase("faults");
    UseMachine(machine);
    EXPECT_EQ(temperature(), "real:30");

    // Pages are kept by the low 8 bits of the disk number.
    nlohmann::json distant = Disk(261);
    distant["smart"] = SmartPage({{194, 60, 40}});
    const auto picture = Picture(MachineWith({Disk(5), distant}));
    EXPECT_EQ(ValueText(picture[3], PI::PROP_DEVICE_NUMBER), "number:261");
    EXPECT_EQ(ValueText(picture[3], PI::PROP_TEMPERATURE), "real:23");
}

// Every platform call of a start fails in turn, once and then for good. Only calls of the tree walk
// may cost more than the one drive that they were made for, since they hide what lies behind.
TEST_F(Scan, EveryPlatformCallMayFail)
{
    nlohmann::json machine = MachineOf(6);
    nlohmann::json& nodes = machine["devices"][0]["children"];
    const nlohmann::json second = {nodes[4], nodes[5]};
    nodes.erase(5);
    nodes.erase(4);
    machine["devices"].push_back(Controller("storahci", second, "PCI\\SECOND"));
    const auto whole = Drives(Picture(machine));
    ASSERT_EQ(whole.size(), 6U);

    for (const bool forGood : {false, true})
    {
        int reached = 0;
        for (int failing = 1;; ++failing)
        {
            int calls = 0;
            std::string refused;
            Platform::SetCallGate(
                [&](const char* name)
                {
                    if (++calls == failing)
                        refused = name;
                    return forGood ? calls < failing : calls != failing;
                });
            LoadedPlugin plugin;
            const std::int32_t result = plugin.Initialize();
            Platform::SetCallGate({});
            SCOPED_TRACE(refused + " as call " + std::to_string(failing));
            EXPECT_EQ(Platform::OpenHandleCount(), 0U);
            if (refused.empty())
                break;
            reached = failing;
            if (result != PI::ERR_SUCCESS)
            {
                EXPECT_EQ(result, PI::ERR_NO_SUPPORTED_HARDWARE);
                EXPECT_EQ(refused.substr(0, 3), "CM_");
                continue;
            }
            const auto drives = Drives(plugin.Topology());
            std::size_t touched = whole.size() - drives.size();
            for (const auto& [number, text] : drives)
                touched += text != whole.at(number);
            // When all calls fail from then on, all that counts is that nothing is left behind.
            const bool treeWalk = refused.substr(0, 3) == "CM_" && refused != "CM_Get_Device_IDA";
            const std::size_t allowed = treeWalk ? whole.size() - drives.size() : 1;
            EXPECT_TRUE(forGood || touched <= allowed) << touched;
        }
        EXPECT_GT(reached, 150); // two walks and six drives
    }
}

TEST_F(Scan, TextsAndMediaOfAPage)
{
    const struct
    {
        const char* model;
        bool isSwapped;
        int rotation;
        const char *vendor, *product;
        bool isSsd;
    } cases[] = {
        {"INTEL SSDSC2BB240G7", false, 1, "INTEL", "SSDSC2BB240G7", true},
        {"Intel ssdSC2", false, 0, "Intel", "ssdSC2", true},
        {"INTEL SS", false, 0, "INTEL", "SS", false},
        {"INTEL SS", false, 1, "INTEL", "SS", true},
        {"INTEL SSDSC2BB240G7", true, 0, "INTEL", "SSDSC2BB240G7", true},
        {"INTEL MZ7KM960HMJP-000FU", true, 1, "INTEL", "MZ7KM960HMJP-000FU", true},
        {"INTEL 8901234567890123456789012345678901", true, 0, "INTEL",
         "8901234567890123456789012345678901", false},
        {"NIETZSCHE DISK", false, 7200, "NIETZSCHE", "DISK", false},
        {"M.2 (S42) 3ME3", false, 1, "INNODISK", "(S42) 3ME3", true},
        {"M.2 (s42) 3ME3", false, 1, "M.2", "(s42) 3ME3", true},
        {"xM.2x a(S42)b", false, 0, "INNODISK", "a(S42)b", false},
        {"ST4000NM0033-9ZM170", false, 7200, "SEAGATE", "ST4000NM0033-9ZM170", false},
        {"MB0500EBNCR", false, 7200, "", "MB0500EBNCR", false},
        {"WDC  WD40EFRX-68N32N0", false, 5400, "WDC", "WD40EFRX-68N32N0", false},
        {"", false, 0, "", "", false},
        {"1234567890123456789012345678901234567 89", false, 0,
         "1234567890123456789012345678901234567", "89", false},
    };
    std::vector<nlohmann::json> disks;
    for (const auto& c : cases)
    {
        disks.push_back(Disk(static_cast<std::uint32_t>(disks.size())));
        disks.back()["identify"] = Identity(c.model, "  SN 1234", c.rotation);
        disks.back()["identify"].update({{"firmware", "FW1\0xyz"s}, {"swapped", c.isSwapped}});
    }
    for (const bool isSwapped : {false, true})
    {
        disks.push_back(Disk(static_cast<std::uint32_t>(disks.size())));
        disks.back()["identify"] = Identity(cases[0].model, "ABCDEFGHIJKLMNOPQRST");
        disks.back()["identify"].update({{"firmware", "12345678"}, {"swapped", isSwapped}});
    }
    const auto picture = Picture(MachineWith(disks));
    for (std::size_t i = 0; i < std::size(cases); ++i)
    {
        std::string told;
        for (const auto id : {PI::PROP_VENDOR, PI::PROP_PRODUCT, PI::PROP_SERIAL_NUMBER,
                              PI::PROP_FIRMWARE_VERSION, PI::PROP_MEDIA_TYPE})
            told += ValueText(picture.at(i + 2), id) + '|';
        EXPECT_EQ(told, "text:"s + cases[i].vendor + "|text:" + cases[i].product +
                            "|text:SN 1234|text:FW1|choice:" +
                            (cases[i].isSsd ? "40293" : "40292") + " of 40292 40293|");
    }
    for (std::size_t i = std::size(cases); i < disks.size(); ++i)
    {
        EXPECT_EQ(ValueText(picture.at(i + 2), PI::PROP_SERIAL_NUMBER),
                  "text:ABCDEFGHIJKLMNOPQRST");
        EXPECT_EQ(ValueText(picture.at(i + 2), PI::PROP_FIRMWARE_VERSION), "text:12345678");
    }
}

TEST_F(Scan, TemperatureFollowsPageOrder)
{
    const std::pair<std::vector<Attribute>, const char*> cases[] = {
        {{}, "absent"},
        {{{194, 100, 36}}, "real:36"},
        {{{194, 36, 0}}, "real:36"},
        {{{190, 45, 30}, {194, 200, 200}}, "real:30"},
        {{{194, 100, 35}, {190, 70, 30}}, "real:30"},
        {{{190, 45, 0}}, "absent"}, // the current value counts for 194 alone
        {{{194, 127, 127}, {190, 45, 128}}, "real:127"},
        {{{194, 100, 35}, {190, 70, 0}}, "real:35"},
        {{{231, 100, 40}, {191, 1, 1}}, "absent"},
    };
    std::vector<nlohmann::json> disks;
    for (const auto& [entries, told] : cases)
    {
        // The last entries of the table: a walk that stops early misses them.
        std::vector<Attribute> page(30 - entries.size(), {1, 1, 99});
        for (const auto& [id, value, raw] : entries)
            page.push_back({id, value, 99 << 8 | raw});
        disks.push_back(Disk(static_cast<std::uint32_t>(disks.size())));
        disks.back()["smart"] = SmartPage(page);
    }
    const auto picture = Picture(MachineWith(disks));
    for (std::size_t i = 0; i < std::size(cases); ++i)
        EXPECT_EQ(ValueText(picture.at(i + 2), PI::PROP_TEMPERATURE), cases[i].second) << i;
}
