#include "contracts/zelKit/Time.h"
#include "contracts/zelKitEx.h"
#include "contracts/zelPlug.h"
#include "libraries/zelKit/Clock.h"
#include "tests/platform/Support.h"

#include <cstring>
#include <ctime>
#include <gtest/gtest.h>
#include <tuple>

namespace
{

TEST(Time, IsNeverZeroAndBreaksIntoLocalDates)
{
    ZKT::Internals::SetClock([]() -> std::uint64_t { return 0; });
    EXPECT_EQ(ZKT::Misc::now(), 1U);
    ZKT::Internals::SetClock(nullptr);
    EXPECT_LE(ZKT::Misc::now() / 1000 - static_cast<std::uint64_t>(time(nullptr)) + 2, 4U);

    setenv("TZ", "CET-1CEST,M3.5.0,M10.5.0/3", 1);
    tzset();
    const std::pair<std::uint64_t, ZKTX::CSystemDate_Win> cases[] = {
        {1, {1970, 1, 1, 4, 1, 1, 0, 0}},
        {1774745999999, {2026, 3, 29, 0, 88, 1, 59, 59}},
        {1774746000000, {2026, 3, 29, 0, 88, 3, 0, 0}},   // summer time begins
        {1792890000000, {2026, 10, 25, 0, 298, 2, 0, 0}}, // and ends
        {1735685999000, {2024, 12, 31, 2, 366, 23, 59, 59}},
        {UINT64_MAX, {9999, 12, 31, 5, 365, 23, 59, 59}},
    };
    for (const auto& [milliseconds, expected] : cases)
    {
        ZKTX::CSystemDate_Win date{};
        ZKTX::CSystemTime_Win::GetDate(milliseconds, date);
        EXPECT_EQ(memcmp(&date, &expected, sizeof(date)), 0) << milliseconds;
    }
}

TEST(Partitions, AreThoseOfTheDiskThatTheTextStrictlyNames)
{
    Platform::SetCurrentMachine(MachineOf(R"({"version": 1, "disks": [
        {"number": 12, "partitions": [{"name": "p", "index": 1}]},
        {"number": 1, "partitions": [{"name": "p"}, {"name": "q", "index": 2}]}]})"));
    const std::pair<const char*, std::size_t> cases[] = {
        {"Disk 12", 1}, {"Disk 1", 2},  {"Disk 7", 0}, {"Disk 4294967297", 0}, {"Disk -1", 0},
        {"Disk 1 ", 0}, {"Disk  1", 0}, {"disk 1", 0}, {"Disk ", 0},           {"", 0},
    };
    for (const auto& [name, count] : cases)
    {
        std::vector<ZKTX::CSystemPartition> partitions(3);
        ZKTX::CSystemPartitionTable(name).GetPartitions(partitions);
        EXPECT_EQ(partitions.size(), count) << name;
    }
    Platform::SetCurrentMachine(nullptr);
}

TEST(Helpers, ConvertBytes)
{
    constexpr std::uint64_t kilo = 1024;
    using namespace PI;
    const std::tuple<std::uint64_t, float, _UNITS> cases[] = {
        {1, 0.0F, UNIT_KILOBYTES},
        {kilo * kilo - 6, 1023.99F, UNIT_KILOBYTES}, // 1023.994
        {kilo * kilo - 5, 1.0F, UNIT_MEGABYTES},     // 1023.995
        {kilo * kilo * kilo - 5242, 1.0F, UNIT_GIGABYTES},
        {kilo * kilo * kilo * kilo - 1, 1.0F, UNIT_TERABYTES},
        {240057409536, 223.57F, UNIT_GIGABYTES},
        {UINT64_MAX, 16777216.0F, UNIT_TERABYTES},
        {0, -1.0F, UNIT_NONE}};
    for (const auto& [bytes, expected, expectedUnit] : cases)
    {
        float value = -1;
        _UNITS unit = UNIT_NONE;
        EXPECT_EQ(CPluginHelper::ConvertBytesToOtherUnit(bytes, value, unit), bytes != 0);
        EXPECT_EQ(std::tuple(value, unit), std::tuple(expected, expectedUnit)) << bytes;
    }
}

TEST(AdapterNumbers, AreTheSameForEver)
{
    // Rows are kept by this number: another one would part adapters from what is known of them.
    PI::CGlobalAdapterID adapter("localhost");
    adapter.SetAdapterUniqueID(0);
    adapter.GenerateUniqueAdapterNumber();
    EXPECT_EQ(adapter.GetGlobalAdapterNumber(), 1686808324);
}

} // namespace
