// The decisions of the plug-in that no machine brings about, as functions from values to values.
#include "tarnis/Src/tarnis/Trace.h"
#include "tarnis/Src/tarnisPhysicalDrive/PhysicalDriveQueries.h"
#include "vocabulary/Names.h"

#include <gtest/gtest.h>

#include <tuple>

using namespace NAMESPACE_tarnis;

TEST(DriveProperties, IconsAndTheEndOfTime)
{
    CAHCIPhysicalDrive drive;
    std::vector<PI::CProperty> properties;
    const std::tuple<PI::_VALUE_ID, PI::_VALUE_ID, std::uint32_t> icons[] = {
        {PI::VAL_OPERATIONAL, PI::VAL_HDD, 24093},
        {PI::VAL_OPERATIONAL, PI::VAL_SSD, 24201},
        {PI::VAL_FAILED, PI::VAL_HDD, 24074},
        {PI::VAL_FAILED, PI::VAL_SSD, 24177},
        {PI::VAL_AVAILABLE_SMART, PI::VAL_HDD, 24115},
        {PI::VAL_AVAILABLE_SMART, PI::VAL_SSD, 24189},
        {PI::VAL_AVAILABLE, PI::VAL_HDD, 24081},
        {PI::VAL_AVAILABLE, PI::VAL_SSD, 24183}};
    for (const auto& [status, media, icon] : icons)
    {
        drive.m_Status = status;
        drive.m_MediaType = media;
        GetPhysicalDriveProperties(drive, properties, PI::PROP_STATUS);
        EXPECT_EQ(properties.at(0).m_IconID, icon);
    }
    drive.m_RemainingLifeTimeHours = NoReading64 - 1;
    GetPhysicalDriveProperties(drive, properties, PI::PROP_ESTIMATED_LIFETIME);
    std::string date;
    EXPECT_EQ(properties.at(0).GetValue(date), PI::ERR_SUCCESS);
    EXPECT_EQ(date, "9999-12-31");
}

TEST(Vocabulary, RowsAndNames)
{
    EXPECT_EQ(Vocabulary::errorNames().size(), 175U);
    EXPECT_EQ(Vocabulary::operationNames().size(), 161U);
    EXPECT_EQ(Vocabulary::propertyNames().size(), 645U); // two numbers have two rows
    EXPECT_EQ(Vocabulary::valueNames().size(), 653U);
    EXPECT_EQ(Vocabulary::eventNames().size(), 1341U);
    EXPECT_EQ(Vocabulary::propertyNames().at(1), "UNDEFINED");
    EXPECT_EQ(Vocabulary::propertyNames().at(29900), "RUI_PROPERTIES");
    EXPECT_EQ(Vocabulary::operationNames().at(50500), "ADD_SERVER");
    EXPECT_EQ(valueName(40024), "OK");
    EXPECT_EQ(valueName(40046), "512B");
    for (const int unknown : {0, 49999})
        EXPECT_EQ(valueName(unknown), "");
}

TEST(Trace, KnowsItsPlace)
{
    const TracePlace place(SourceLocation::current());
    EXPECT_EQ(place.folder, "tests/tarnis");
    EXPECT_EQ(place.function, "Trace_KnowsItsPlace_Test::TestBody");
}
