// What the two exports and the command entry promise.
#include "tests/support/MachineBuilder.h"
#include "tests/support/PluginTest.h"

using namespace Support;

using Entry = PluginTest;

TEST_F(Entry, CommandsThatFail)
{
    UseMachine(MachineOf(1));
    LoadedPlugin plugin;
    ASSERT_EQ(plugin.Initialize(), PI::ERR_SUCCESS);
    std::vector<PI::CObject> record(2);
    for (const std::int32_t command : {0, 11, -1, -2147483647 - 1, 2147483647, 50002})
        EXPECT_EQ(plugin.Command(command, PluginId, &record), PI::ERR_INVALID_COMMAND) << command;
    EXPECT_EQ(record.size(), 2U);
    EXPECT_EQ(plugin.Interface()->m_Version, 2U);
    EXPECT_NE(plugin.Interface()->m_ModuleStamp, 0U);
    for (std::int32_t command = 1; command <= 10; ++command)
    {
        if (command == PI::COMMAND_DEINITIALIZE)
            continue;
        EXPECT_EQ(plugin.Command(command, PluginId, nullptr), PI::ERR_INVALID_PARAMETER) << command;
    }

    // Failed output commands leave an empty vector.
    std::vector<PI::CProperty> properties(3);
    const std::size_t capacity = properties.capacity();
    EXPECT_EQ(plugin.Command(PI::COMMAND_GET_PROPERTIES, 42, &properties),
              PI::ERR_INVALID_OBJECT_ID);
    EXPECT_TRUE(properties.empty());
    EXPECT_EQ(properties.capacity(), capacity);

    std::vector<PI::COperation> operations(3);
    EXPECT_EQ(plugin.Command(PI::COMMAND_GET_OPERATIONS, 42, &operations),
              PI::ERR_INVALID_OBJECT_ID);
    EXPECT_TRUE(operations.empty());

    // A command that succeeds replaces what stood there.
    properties.resize(50);
    EXPECT_EQ(plugin.Command(PI::COMMAND_GET_PROPERTIES, PluginId, &properties), PI::ERR_SUCCESS);
    EXPECT_EQ(properties.size(), 5U);
    std::vector<PI::CObject> objects(9);
    EXPECT_EQ(plugin.Command(PI::COMMAND_GET_TOPOLOGY, 0, &objects), PI::ERR_SUCCESS);
    EXPECT_EQ(objects.size(), 3U);
}

TEST_F(Entry, MachineWithoutSupportedDriver)
{
    nlohmann::json similar = MachineOf(2);
    similar["devices"][0]["service"] = "iastorav";
    for (const nlohmann::json& machine : {nlohmann::json{{"version", 1}}, similar})
    {
        UseMachine(machine);
        LoadedPlugin plugin;
        plugin.adapterIDs.resize(4);
        EXPECT_EQ(plugin.Initialize(), PI::ERR_NO_SUPPORTED_HARDWARE);
        EXPECT_TRUE(plugin.adapterIDs.empty());
        EXPECT_EQ(plugin.initializeOutput, "tarnis:  Initialize:  adapter count is 0\n");
        EXPECT_EQ(plugin.Command(PI::COMMAND_DEINITIALIZE), PI::ERR_SUCCESS);
    }
}

TEST_F(Entry, BeforeInitializeAndAfterRelease)
{
    UseMachine(MachineOf(1));
    LoadedPlugin plugin;
    PI::CProperty property(PI::PROP_NAME, false);
    EXPECT_EQ(plugin.Command(PI::COMMAND_GET_PROPERTY, AdapterId, &property),
              PI::ERR_INVALID_OBJECT_ID);
    EXPECT_EQ(plugin.Command(PI::COMMAND_DEINITIALIZE), PI::ERR_SUCCESS);
    IPLUGINAPI* nothing = nullptr;
    plugin.Release(&nothing);
    EXPECT_EQ(nothing, nullptr);
}

TEST_F(Entry, AdapterIdentifiersGoToTheHostAndComeBack)
{
    UseMachine(MachineOf(2));
    LoadedPlugin plugin;
    ASSERT_EQ(plugin.Initialize(), PI::ERR_SUCCESS);
    EXPECT_EQ(plugin.initializeOutput, "tarnis:  Initialize:  adapter count is 1\n");
    ASSERT_EQ(plugin.adapterIDs.size(), 1U);
    PI::CAdapterID& id = plugin.adapterIDs[0];
    EXPECT_EQ(id.m_AdapterNumber, 0U);
    EXPECT_EQ(id.m_GlobalAdapterID, +PI::CAdapterID::NoGlobalID); // its value: no library holds it

    std::string expected = PictureText(plugin.Topology());
    const std::string name = "text:Windows Advanced Host Controller Interface (";
    expected.replace(expected.find(name + "0)") + name.size(), 1, "9");

    // Of the entries that fit, the first with a number counts.
    std::vector<PI::CAdapterID> ids;
    for (const auto place : {&PI::CAdapterID::m_PciSegment, &PI::CAdapterID::m_PciBus,
                             &PI::CAdapterID::m_PciDevice, &PI::CAdapterID::m_PciFunction})
    {
        ids.push_back(id);
        ids.back().*place = 7;
        ids.back().m_GlobalAdapterID = 5;
    }
    ids.insert(ids.end(), 2, id);
    ids.back().m_GlobalAdapterID = 9;
    EXPECT_EQ(plugin.Command(PI::COMMAND_SET_ADAPTER_IDS, 0, &ids), PI::ERR_SUCCESS);
    EXPECT_EQ(PictureText(plugin.Topology()), expected); // which no change count tells
    EXPECT_EQ(plugin.Command(PI::COMMAND_DEINITIALIZE), PI::ERR_SUCCESS);
}
