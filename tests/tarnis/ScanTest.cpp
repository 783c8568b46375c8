// The picture of the machine: which drives it shows, what they were asked, and what faults do.
#include "platform/CallGate.h"
#include "platform/WindowsApi.h"
#include "tests/support/MachineBuilder.h"
#include "tests/support/PluginTest.h"

#include <algorithm>
#include <locale>
#include <map>
#include <random>
#include <regex>
#include <set>

using namespace Support;
using Platform::DriveCall;

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

std::vector<std::string> DiskNumbers(const std::vector<PI::CObject>& objects)
{
    std::vector<std::string> numbers;
    for (const PI::CObject& object : objects)
        if (object.m_Type == PI::OBJECT_PHYSICAL_DRIVE)
            numbers.push_back(ValueText(object, PI::PROP_DEVICE_NUMBER).substr(7));
    return numbers;
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
    EXPECT_EQ(DiskNumbers(picture), (std::vector<std::string>{"5", "7", "6", "9", "8", "9", "4"}));
    EXPECT_EQ(picture[1].m_Children.size(), 7U);
    // Of several supported drivers the last in the walk gives its name.
    EXPECT_EQ(ValueText(picture[1], PI::PROP_DRIVER_NAME), "text:msahci");

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
    WriteSettings("tarnis.ini", "PollInterval=45");
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
    EXPECT_EQ(ReadSettings("tarnis.ini"), "PollInterval=5000");
}

TEST_F(Scan, FaultsStayWithTheirDrive)
{
    nlohmann::json healthy = MachineOf(3);
    const auto expected = Drives(Picture(healthy));
    const struct
    {
        const char* fault;
        const char* changed; ///< which of the drive's properties, or null when it is not there
        const char* to;
    } cases[] = {{"open", nullptr, ""},
                 {"device_number", nullptr, ""},
                 {"smart_version", nullptr, ""},
                 {"identify", nullptr, ""},
                 {"smart_data", "30069=.*\n([^]*)=number:8000", "$1=number:0"},
                 {"length", "(30059|30060)=.*", "$1=number:18446744073709551615"}};
    for (const auto& c : cases)
    {
        nlohmann::json machine = healthy;
        machine["disks"][1]["faults"] = {c.fault};
        auto left = expected;
        if (c.changed)
            left["number:1"] = std::regex_replace(left["number:1"], std::regex(c.changed), c.to);
        else
            left.erase("number:1");
        EXPECT_EQ(Drives(Picture(machine)), left) << c.fault;
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
    nlohmann::json far = Disk(261);
    far["smart"] = SmartPage({{194, 60, 40}});
    const auto picture = Picture(MachineWith({Disk(5), far}));
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

TEST_F(Scan, AnyPagesWhatever)
{
    std::mt19937 random(20261122);
    std::vector<nlohmann::json> disks;
    for (std::uint32_t number = 0; number < 200; ++number)
    {
        nlohmann::json disk = {{"number", number}, {"bytes", random()}};
        for (const char* page : {"identify", "smart"})
        {
            std::string bytes(512, '\0');
            // Every other page holds few kinds of byte, so that blanks, NULs and ids 190 and 194
            // come up.
            constexpr unsigned char few[] = {0, ' ', 'A', 0xFF, 190, 194, 1, 0x1B};
            for (char& byte : bytes)
                byte = static_cast<char>(number % 2 ? random() : few[random() % sizeof few]);
            const std::string file = std::to_string(number) + page;
            WriteSettings(file, bytes);
            disk[page] = file;
        }
        disks.push_back(disk);
    }
    const auto picture = Picture(MachineWith(disks));
    EXPECT_EQ(DiskNumbers(picture).size(), 200U);
    for (const PI::CObject& object : picture)
        if (const PI::CProperty* temperature = Find(object, PI::PROP_TEMPERATURE))
        {
            float degrees = 0;
            EXPECT_EQ(temperature->GetValue(degrees), PI::ERR_SUCCESS);
            EXPECT_TRUE(degrees >= 1 && degrees <= 127);
        }
}
