// Every property and operation that the host can ask for.
#include "tests/support/MachineBuilder.h"
#include "tests/support/PluginTest.h"

#include <tuple>

using namespace Support;

namespace
{

constexpr std::uint32_t All = 0xFFFFFFFF;

struct Shown
{
    int id;
    std::uint32_t label;
    std::uint32_t mask;
    int unit;
    std::string value;
    std::uint32_t icon = 0;
    std::uint32_t alias = 0;
    std::uint32_t format = 0;

    bool operator==(const Shown&) const = default;
};

Shown Show(const PI::CProperty& property)
{
    return {static_cast<int>(property.m_ID),
            property.m_TextID,
            property.m_ViewMask,
            static_cast<int>(property.m_Unit),
            ValueText(property),
            property.m_IconID,
            property.m_AliasID,
            property.m_ValueFormat};
}

/// @param head  the first line of its picture
void Check(const PI::CObject& object, const std::string& head, const std::vector<Shown>& expected)
{
    const std::string picture = PictureText({object});
    EXPECT_EQ(picture.substr(0, picture.find('\n')), head);
    ASSERT_EQ(object.m_Properties.size(), expected.size());
    for (std::size_t i = 0; i < expected.size(); ++i)
        EXPECT_TRUE(Show(object.m_Properties[i]) == expected[i])
            << expected[i].id << ' ' << ValueText(object.m_Properties[i]);
}

} // namespace

using Query = PluginTest;

TEST_F(Query, EveryPropertyOfATree)
{
    nlohmann::json machine = MachineWith({Disk(1)});
    machine["devices"][0]["service"] = "StorAHCI";
    UseMachine(machine);
    LoadedPlugin plugin;
    ASSERT_EQ(plugin.Initialize(), PI::ERR_SUCCESS);
    const std::vector<PI::CObject> objects = plugin.Topology();
    ASSERT_EQ(objects.size(), 3U);

    Check(objects[0],
          "131000000000000 type 19006 count 0 parents children 131000000000001 operations 1",
          {{30137, 1, 0, 1, "text:Plugin:ID=305"},
           {30007, 23334, All, 1, "text:AHCI-Plugin"},
           {30099, 23339, All, 1, "text:7.8.1"},
           {30003, 23338, All, 1, "text:Microsoft Corporation"},
           {30005, 23335, All, 21007, "range:30 in 2..255 by 1"}});
    ASSERT_EQ(objects[0].m_Operations.size(), 1U);
    const PI::COperation& operation = objects[0].m_Operations[0];
    EXPECT_EQ(operation.m_ID, 50002);
    EXPECT_EQ(operation.m_AliasID, 50002U);
    EXPECT_EQ(operation.m_Category, 6U);
    EXPECT_EQ(operation.m_Param4, 1U);
    EXPECT_EQ(operation.m_Param5, 0U);
    EXPECT_EQ(operation.m_Param6, 1U);

    Check(objects[1],
          "131000000000001 type 19037 count 0 parents 131000000000000 children 131000000000002 "
          "operations 0",
          {{30007, 23081, All, 1, "text:Windows Advanced Host Controller Interface (0)"},
           {30063, 23102, All, 1, "text:Advanced Host Controller Interface"},
           {30120, 23003, All, 1, "number:0", 0, 35023},
           {30017, 23127, All, 1, "choice:40024 of 40024 40150 40095", 24000},
           {30479, 23134, 9, 1, "number:0", 0, 35039},
           {30037, 23132, 9, 1, "number:0", 0, 35016},
           {30038, 23133, 9, 1, "number:0", 0, 35020},
           {30039, 23135, 9, 1, "number:0", 0, 35022},
           {30137, 1, 0, 1, "text:PCI:Bus=0&Device=0&Function=0"},
           {30266, 23041, All, 1, "text:StorAHCI"},
           {30018, 23042, All, 1, "text:10.0.19041.3636"}});

    Check(objects[2],
          "131000000000002 type 19018 count 0 parents 131000000000001 children operations 0",
          {{30007, 23298, All, 1, "text:INTEL SSDSC2BB240G7 (1)"},
           {30122, 23305, 4, 1, "number:0"},
           {30125, 23284, All, 1, "number:1"},
           {30137, 1, 0, 1, "text:PCI:Bus=0&Device=0&Function=0&ID=1"},
           {30003, 23331, All, 1, "text:INTEL"},
           {30063, 23308, All, 1, "text:SSDSC2BB240G7"},
           {30056, 23329, All, 1, "choice:40002 of 40002"},
           {30020, 23287, All, 1, "text:FW0001"},
           {30022, 23320, All, 1, "text:SERIAL1"},
           {30059, 23304, All, 21002, "number:228936"},
           {30060, 23281, All, 21002, "number:228936"},
           {30017, 23324, All, 1, "choice:40093 of 40099 40180 40095", 24201},
           {30247, 23300, All, 1, "text:Disk 1"},
           {30069, 23326, All, 21000, "real:23", 0, 0, 8},
           {30486, 23313, 0, 21010, "range:0 in 0..100 by 1"},
           {30494, 23309, 0, 21010, "range:0 in 0..100 by 1"},
           {30490, 23279, 0, 1, "real:0"},
           {30498, 23307, All, 21005, "number:8000"},
           {30483, 23286, 0, 1, "text:"},
           {30320, 23296, All, 1, "choice:40293 of 40292 40293"}});

    // One property at a time gives what all at once gave, and so does the list of one object.
    for (const PI::CObject& object : objects)
    {
        std::vector<PI::CProperty> listed;
        EXPECT_EQ(plugin.Command(PI::COMMAND_GET_PROPERTIES, object.m_ID, &listed),
                  PI::ERR_SUCCESS);
        ASSERT_EQ(listed.size(), object.m_Properties.size());
        for (std::size_t i = 0; i < listed.size(); ++i)
        {
            PI::CProperty one(listed[i].m_ID, false);
            EXPECT_EQ(plugin.Command(PI::COMMAND_GET_PROPERTY, object.m_ID, &one), PI::ERR_SUCCESS);
            for (const PI::CProperty& property : {listed[i], one})
                EXPECT_TRUE(Show(property) == Show(object.m_Properties[i])) << property.m_ID;
        }
    }
}

TEST_F(Query, ReadingsOfAWornDrive)
{
    nlohmann::json disk = Disk(0);
    disk["identify"] = Identity("MICRON 5300_MTFDDAK480TDS", "S");
    disk["smart"] = SmartPage({{9, 1, 1}, {170, 0, 0}, {202, 1, 120}, {246, 1, 3ULL << 30}});
    disk.erase("partitions");
    UseMachine(MachineWith({disk}));
    LoadedPlugin plugin;
    ASSERT_EQ(plugin.Initialize(), PI::ERR_SUCCESS);
    const PI::CObject drive = plugin.Topology().at(2);
    for (const Shown& expected :
         {Shown{30486, 23313, All, 21010, "range:0 in 0..100 by 1"},
          {30494, 23309, All, 21010, "range:120 in 0..100 by 1"},
          {30490, 23279, All, PI::UNIT_TERABYTES, "real:1.5", 0, 0, 8},
          {30498, 23307, All, 21005, "number:1"},
          {30483, 23286, All, 1, "text:2026-02-02"},
          {30017, 23324, All, 1, "choice:40180 of 40099 40180 40095", 24189}})
        EXPECT_TRUE(Show(*Find(drive, static_cast<PI::_PROPERTY_ID>(expected.id))) == expected)
            << expected.id;
    PI::COperation format(PI::OP_FORMAT_DEVICE);
    EXPECT_EQ(plugin.Command(PI::COMMAND_CHECK_OPERATION, FirstDriveId, &format),
              PI::ERR_PHYSICALDRIVE_NOT_AVAILABLE);
}

TEST_F(Query, CodesOfEveryQuestion)
{
    nlohmann::json bare = Disk(4);
    bare.erase("partitions");
    bare["smart"] = SmartPage({});
    nlohmann::json machine = MachineWith({Disk(3), bare});
    machine.erase("modules");
    UseMachine(machine);
    LoadedPlugin plugin;
    ASSERT_EQ(plugin.Initialize(), PI::ERR_SUCCESS);
    constexpr std::uint64_t usedDrive = FirstDriveId;
    constexpr std::uint64_t bareDrive = FirstDriveId + 1;

    const std::tuple<std::uint64_t, int, std::int32_t, const char*> properties[] = {
        {PluginId, 1, PI::ERR_SUCCESS, "text:Plugin:ID=305"},
        {AdapterId, 1, PI::ERR_SUCCESS, "text:Windows Advanced Host Controller Interface (0)"},
        {usedDrive, 1, PI::ERR_SUCCESS, "text:INTEL SSDSC2BB240G7 (3)"},
        {usedDrive, 30005, PI::ERR_GENERAL, ""},
        {usedDrive, 0, PI::ERR_GENERAL, ""},
        {bareDrive, 30069, PI::ERR_GENERAL, ""},
        {bareDrive, 30498, PI::ERR_SUCCESS, "number:0"},
        {bareDrive, 30017, PI::ERR_SUCCESS, "choice:40099 of 40099 40180 40095"},
        {AdapterId, 30018, PI::ERR_GENERAL, ""}, // the driver's version is not known
        {FirstDriveId + 2, 30007, PI::ERR_INVALID_OBJECT_ID, ""},
        {0, 30007, PI::ERR_INVALID_OBJECT_ID, ""},
    };
    for (const auto& [object, property, result, value] : properties)
    {
        PI::CProperty record(static_cast<PI::_PROPERTY_ID>(property), false);
        record.SetValue("as it was");
        EXPECT_EQ(plugin.Command(PI::COMMAND_GET_PROPERTY, object, &record), result) << property;
        EXPECT_EQ(ValueText(record), result == PI::ERR_SUCCESS ? value : "text:as it was");
    }

    const std::tuple<std::uint64_t, PI::_OPERATION_ID, std::int32_t, std::int32_t> operations[] = {
        {PluginId, PI::OP_GET_EVENTS, PI::ERR_SUCCESS, PI::ERR_SUCCESS},
        {PluginId, PI::OP_FORMAT_DEVICE, PI::ERR_SUCCESS, PI::ERR_INVALID_OPERATION},
        {AdapterId, PI::OP_FORMAT_DEVICE, PI::ERR_SUCCESS, PI::ERR_SUCCESS},
        {usedDrive, PI::OP_FORMAT_DEVICE, PI::ERR_PHYSICALDRIVE_NOT_AVAILABLE,
         PI::ERR_INVALID_OPERATION},
        {bareDrive, PI::OP_FORMAT_DEVICE, PI::ERR_SUCCESS, PI::ERR_INVALID_OPERATION},
        {usedDrive, PI::OP_GET_EVENTS, PI::ERR_SUCCESS, PI::ERR_INVALID_OPERATION},
        {99, PI::OP_GET_EVENTS, PI::ERR_INVALID_OBJECT_ID, PI::ERR_INVALID_OBJECT_ID},
    };
    for (const auto& [object, operation, check, execute] : operations)
    {
        PI::COperation record(operation);
        EXPECT_EQ(plugin.Command(PI::COMMAND_CHECK_OPERATION, object, &record), check);
        EXPECT_EQ(plugin.Command(PI::COMMAND_EXECUTE_OPERATION, object, &record), execute);
    }
    PI::COperation collected(PI::OP_GET_EVENTS);
    collected.SetEvents(std::vector<PI::CEvent>(3));
    EXPECT_EQ(plugin.Command(PI::COMMAND_EXECUTE_OPERATION, PluginId, &collected), PI::ERR_SUCCESS);
    EXPECT_TRUE(collected.m_Events.empty());
}

TEST_F(Query, PollIntervalFromTheSettings)
{
    UseMachine(MachineOf(0));
    const std::pair<std::string, int> cases[] = {
        {"", 30},
        {"PollInterval=1", 2},
        {"PollInterval=-1", 255},
        {"PollInterval=256", 255},
        {"PollInterval=4294967295", 255},
        {"PollInterval=4294967296", 30},
        {"PollInterval=\t 7", 7},
        {"PollInterval=007", 7},
        {"PollInterval=7 ", 30},
        {"PollInterval=", 30},
        {"PollInterval= ", 30},
        {"PollInterval=0x1F", 30},
        {"PollInterval=1.5", 30},
        {"# PollInterval=9\r\n  pollinterval =46\r\nPollInterval=47\r\n", 46},
    };
    for (const auto& [text, expected] : cases)
    {
        m_Folder.Write("tarnis.ini", text);
        LoadedPlugin plugin;
        ASSERT_EQ(plugin.Initialize(), PI::ERR_SUCCESS);
        EXPECT_EQ(ValueText(plugin.Topology()[0], PI::PROP_POLL_INTERVAL),
                  "range:" + std::to_string(expected) + " in 2..255 by 1")
            << text;
    }
}

TEST_F(Query, SettingThePollInterval)
{
    UseMachine(MachineOf(1));
    m_Folder.Write("tarnis.ini", "# mine\r\nOther = 1\r\nPollInterval=40\r\n");
    LoadedPlugin plugin;
    ASSERT_EQ(plugin.Initialize(), PI::ERR_SUCCESS);

    const std::tuple<int, int, int, int> cases[] = {
        {1, 2, 255, 2},  {1000, 2, 255, 255}, {300, 2, 500, 300},     {300, 2, 500, 300},
        {-5, 2, 255, 2}, {60, 90, 50, 50},    {2147483647, 2, 77, 77}};
    std::uint64_t count = plugin.Topology()[0].m_ChangeCount;
    for (const auto& [value, minimum, maximum, stored] : cases)
    {
        PI::CProperty record(PI::PROP_POLL_INTERVAL, true);
        record.SetValue(value, minimum, maximum, 1U);
        EXPECT_EQ(plugin.Command(PI::COMMAND_SET_PROPERTY, PluginId, &record), PI::ERR_SUCCESS);
        const PI::CObject object = plugin.Topology()[0];
        EXPECT_EQ(ValueText(object, PI::PROP_POLL_INTERVAL),
                  "range:" + std::to_string(stored) + " in 2..255 by 1");
        EXPECT_EQ(object.m_ChangeCount, ++count);
        EXPECT_EQ(m_Folder.Read("tarnis.ini"),
                  "# mine\r\nOther = 1\r\nPollInterval=" + std::to_string(stored) + "\r\n");
    }

    PI::CProperty text(PI::PROP_POLL_INTERVAL, true);
    text.SetValue("60");
    EXPECT_EQ(plugin.Command(PI::COMMAND_SET_PROPERTY, PluginId, &text),
              PI::ERR_INVALID_PROPERTY_TYPE);
    PI::CProperty name(PI::PROP_NAME, true);
    name.SetValue("mine");
    EXPECT_EQ(plugin.Command(PI::COMMAND_SET_PROPERTY, PluginId, &name), PI::ERR_INVALID_PROPERTY);
    for (const std::uint64_t object : {AdapterId, FirstDriveId})
        EXPECT_EQ(plugin.Command(PI::COMMAND_SET_PROPERTY, object, &text),
                  PI::ERR_INVALID_PROPERTY);
    EXPECT_EQ(plugin.Command(PI::COMMAND_SET_PROPERTY, 7, &text), PI::ERR_INVALID_OBJECT_ID);
    EXPECT_EQ(plugin.Topology()[0].m_ChangeCount, count);

    // A folder that takes no file: the interval holds in memory, and the code says what failed.
    setenv("TARNIS_CONFIG_DIR", "/dev/null/none", 1);
    PI::CProperty record(PI::PROP_POLL_INTERVAL, true);
    record.SetValue(33, 2, 255, 1U);
    LoadedPlugin unwritable;
    ASSERT_EQ(unwritable.Initialize(), PI::ERR_SUCCESS);
    EXPECT_EQ(unwritable.Command(PI::COMMAND_SET_PROPERTY, PluginId, &record),
              PI::ERR_WRITE_ACCESS_DENIED);
    EXPECT_EQ(ValueText(unwritable.Topology()[0], PI::PROP_POLL_INTERVAL),
              "range:33 in 2..255 by 1");
    EXPECT_EQ(unwritable.Topology()[0].m_ChangeCount, 1U);
}
