// What is told of drives between two looks, and in a table.
#include "host/Changes.h"
#include "host/Health.h"
#include "host/ShowText.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace
{

using namespace Host;

Drive Make(std::uint32_t number, std::optional<std::uint64_t> hours = std::nullopt)
{
    Drive drive;
    drive.number = number;
    drive.label = "disk" + std::to_string(number);
    drive.model = "a model of many words that take two lines";
    drive.serial = "S" + std::to_string(number);
    drive.firmware = "F1";
    drive.status = PI::VAL_AVAILABLE;
    drive.reserve = 100;
    drive.hours = hours;
    return drive;
}

Drive Silent(std::uint32_t number)
{
    Drive drive;
    drive.number = number;
    drive.label = "disk" + std::to_string(number);
    drive.silence = "it does not identify itself";
    return drive;
}

std::vector<ChangeKind> KindsOf(const std::vector<Change>& changes)
{
    std::vector<ChangeKind> kinds;
    for (const Change& change : changes)
        kinds.push_back(change.kind);
    return kinds;
}

} // namespace

TEST(Changes, OfFirmwareAndOfErrorsBehindASilence)
{
    using Kinds = std::vector<ChangeKind>;
    ChangeFinder finder({});
    Drive drive = Make(0);
    drive.errors.pendingSectors = 5;
    EXPECT_EQ(KindsOf(finder.Look({drive}, 1)), Kinds());
    drive.firmware = "F2";
    const auto changes = finder.Look({drive}, 2);
    ASSERT_EQ(KindsOf(changes), Kinds{ChangeKind::Replaced});
    EXPECT_EQ(changes[0].replaced.value().firmware, "F1");
    EXPECT_EQ(KindsOf(finder.Look({Silent(0)}, 3)), Kinds{ChangeKind::Trouble});
    EXPECT_EQ(KindsOf(finder.Look({drive}, 4)), Kinds{ChangeKind::Recovered});
    finder.Look({Silent(0)}, 5);
    drive.errors.pendingSectors = 6;
    EXPECT_EQ(KindsOf(finder.Look({drive}, 6)),
              (Kinds{ChangeKind::Recovered, ChangeKind::ErrorsRose}));
}

TEST(DriveTable, SortsMarksAndTellsWhatIsHot)
{
    Drive hot = Make(2, 5);
    hot.temperature = hotDegrees;
    Drive warm = Make(1);
    warm.temperature = hotDegrees - 0.6F;
    Style style{false, 30, {}};
    style.table.columns = {"disk", "hours", "temp"};
    style.table.sort = "hours";
    style.table.hasHeader = false;
    EXPECT_EQ(DriveTable({warm, hot, Make(0, 3)}, {}, style),
              std::string(noMark) + "disk0    3 h        -\n" + noMark + "disk2    5 h  ! 60 °C\n" +
                  noMark + "disk1      -    59 °C\n");
    EXPECT_EQ(JudgementOf(hot, {}).remarks, std::vector<std::string>{"60 degrees Celsius"});
    EXPECT_EQ(JudgementOf(warm, {}).remarks, std::vector<std::string>());

    Drive failing = Silent(0);
    failing.model = hot.model;
    style.table.columns = {"model"};
    style.table.sort = "";
    const std::string table = DriveTable({failing}, {}, style);
    EXPECT_TRUE(table.starts_with(troubleMark)) << table;
    EXPECT_EQ(table.find(troubleMark, 1), std::string::npos) << "a drive has one mark\n" << table;
    EXPECT_NE(table.find('\n'), table.size() - 1);
}
