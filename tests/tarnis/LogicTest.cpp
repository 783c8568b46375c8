// The decisions of the plug-in as functions from values to values.
#include "tarnis/Src/tarnis/Settings.h"
#include "tarnis/Src/tarnis/Trace.h"
#include "tarnis/Src/tarnisPhysicalDrive/PhysicalDriveQueries.h"
#include "tarnis/Src/tarnisPlugin/Health.h"
#include "tarnis/Src/tarnisPlugin/IdentifyPage.h"
#include "vocabulary/Names.h"

#include <gtest/gtest.h>

#include <limits>

using namespace NAMESPACE_tarnis;

namespace
{

void Put(IdentifyData& words, std::size_t first, std::size_t count, std::string text, bool ataOrder)
{
    text.resize(2 * count, ' ');
    for (std::size_t word = 0; word < count; ++word)
    {
        const auto one = static_cast<unsigned char>(text[2 * word]);
        const auto two = static_cast<unsigned char>(text[2 * word + 1]);
        words[first + word] = ataOrder ? one << 8 | two : two << 8 | one;
    }
}

} // namespace

TEST(Settings, NumbersAndTimes)
{
    const struct
    {
        const char* text;
        std::optional<std::uint32_t> number;
    } numbers[] = {
        {"0", 0},           {"42", 42},  {"\t 7", 7}, {"007", 7}, {"4294967295", 4294967295},
        {"4294967296", {}}, {"", {}},    {" ", {}},   {"7 ", {}}, {"7\n", {}},
        {"0x1F", {}},       {"1.5", {}}, {"x", {}}};
    for (const auto& c : numbers)
        EXPECT_EQ(ParseNumber(c.text), c.number) << '"' << c.text << '"';

    const struct
    {
        const char* text;
        std::uint32_t defaultHour, hour, minute;
    } times[] = {{"10:45", 11, 10, 45}, {"7", 11, 7, 7},       {"12:", 11, 12, 0},
                 {":30", 11, 11, 30},   {"25:70", 11, 23, 59}, {"x:15", 23, 23, 15},
                 {"", 11, 11, 0},       {"x", 23, 23, 0},      {"9:5:7", 11, 9, 0},
                 {"45", 11, 23, 45},    {"9 :5", 11, 11, 5}};
    for (const auto& c : times)
    {
        const ZKTX::CSystemDate_Win time = ParseTimeOfDay(c.text, c.defaultHour);
        EXPECT_EQ(time.m_Hour, c.hour) << '"' << c.text << '"';
        EXPECT_EQ(time.m_Minute, c.minute) << '"' << c.text << '"';
        EXPECT_EQ(time.m_Second, 0U);
    }
}

TEST(Health, TemperatureFollowsPageOrder)
{
    struct Entry
    {
        int id, value, raw;
    };
    const struct
    {
        std::vector<Entry> entries;
        int expected;
    } cases[] = {
        {{}, 0},
        {{{194, 100, 36}}, 36},
        {{{194, 36, 0}}, 36},
        {{{190, 45, 30}, {194, 200, 200}}, 30},
        {{{194, 100, 35}, {190, 70, 30}}, 30},
        {{{190, 45, 0}}, 0}, // the current value counts for 194 alone
        {{{190, 45, 128}, {194, 127, 127}}, 127},
        {{{194, 100, 35}, {190, 70, 0}}, 35},
        {{{231, 100, 40}, {191, 1, 1}}, 0},
    };
    for (const auto& c : cases)
    {
        PI::_IDE_SMART_DATA page = {};
        for (std::size_t i = 0; i < c.entries.size(); ++i)
        {
            // The last entries of the table: a walk that stops early misses them.
            PI::_IDE_SMART_ATTRIBUTE& entry = page.m_Attributes[30 - c.entries.size() + i];
            entry.m_ID = static_cast<std::uint8_t>(c.entries[i].id);
            entry.m_Value = static_cast<std::uint8_t>(c.entries[i].value);
            entry.m_Raw[0] = static_cast<std::uint8_t>(c.entries[i].raw);
            entry.m_Raw[1] = 99;
        }
        EXPECT_EQ(TemperatureOf(page), c.expected) << "case " << &c - cases;
    }
}

TEST(Health, LimitsRaiseTheStatus)
{
    const struct
    {
        std::uint32_t wear, reserve;
        std::uint64_t hours;
        bool raised;
    } cases[] = {
        {NoReading32, NoReading32, NoReading64, false},
        {95, NoReading32, NoReading64, false},
        {96, NoReading32, NoReading64, true},
        {NoReading32, 10, NoReading64, false},
        {NoReading32, 9, NoReading64, true},
        {NoReading32, 0, NoReading64, true},
        {NoReading32, NoReading32, 1440, false},
        {NoReading32, NoReading32, 1439, true},
        {NoReading32, NoReading32, 0, true},
    };
    for (const auto& c : cases)
        for (const PI::_VALUE_ID before : {PI::VAL_AVAILABLE, PI::VAL_OPERATIONAL})
        {
            CAHCIAdapter adapter;
            CAHCIPhysicalDrive drive;
            drive.m_Status = before;
            drive.m_RatedEndurancePercent = c.wear;
            drive.m_RemainingReserve = c.reserve;
            drive.m_RemainingLifeTimeHours = c.hours;
            ApplyHealthLimits(drive, adapter);
            EXPECT_EQ(drive.m_Status, c.raised ? PI::VAL_AVAILABLE_SMART : before)
                << "case " << &c - cases;
            EXPECT_EQ(adapter.m_Status, c.raised ? PI::VAL_WARNING : PI::VAL_OK);
        }
}

TEST(Identify, TextsOfAPage)
{
    const struct
    {
        const char* model;
        bool ataOrder;
        int rotation;
        const char* vendor;
        const char* product;
        PI::_VALUE_ID media;
    } cases[] = {
        {"INTEL SSDSC2BB240G7", true, 1, "INTEL", "SSDSC2BB240G7", PI::VAL_SSD},
        {"Intel ssdSC2", true, 0, "Intel", "ssdSC2", PI::VAL_SSD},
        {"INTEL SS", true, 0, "INTEL", "SS", PI::VAL_HDD},
        {"INTEL SS", true, 1, "INTEL", "SS", PI::VAL_SSD},
        {"INTEL SSDSC2BB240G7", false, 0, "INTEL", "SSDSC2BB240G7", PI::VAL_SSD},
        {"NIETZSCHE DISK", true, 7200, "NIETZSCHE", "DISK", PI::VAL_HDD},
        {"M.2 (S42) 3ME3", true, 1, "INNODISK", "(S42) 3ME3", PI::VAL_SSD},
        {"M.2 (s42) 3ME3", true, 1, "M.2", "(s42) 3ME3", PI::VAL_SSD},
        {"xM.2x a(S42)b", true, 0, "INNODISK", "a(S42)b", PI::VAL_HDD},
        {"ST4000NM0033-9ZM170", true, 7200, "SEAGATE", "ST4000NM0033-9ZM170", PI::VAL_HDD},
        {"MB0500EBNCR", true, 7200, "", "MB0500EBNCR", PI::VAL_HDD},
        {"WDC  WD40EFRX-68N32N0", true, 5400, "WDC", "WD40EFRX-68N32N0", PI::VAL_HDD},
        {"", true, 0, "", "", PI::VAL_HDD},
        {"1234567890123456789012345678901234567 890", true, 0,
         "1234567890123456789012345678901234567", "89", PI::VAL_HDD},
    };
    for (const auto& c : cases)
    {
        IdentifyData words = {};
        Put(words, 10, 10, "  SN 1234", c.ataOrder);
        Put(words, 23, 4, std::string("FW1\0xyz", 7), c.ataOrder);
        Put(words, 27, 20, c.model, c.ataOrder);
        words[217] = static_cast<std::uint32_t>(c.rotation);
        const DriveIdentity identity = DecodeIdentity(words);
        EXPECT_EQ(identity.vendor, c.vendor) << c.model;
        EXPECT_EQ(identity.product, c.product) << c.model;
        EXPECT_EQ(identity.serialNumber, "SN 1234") << c.model;
        EXPECT_EQ(identity.firmwareVersion, "FW1") << c.model;
        EXPECT_EQ(MediaTypeOf(words, identity), c.media) << c.model;
    }

    char text[41];
    IdentifyData words = {};
    Put(words, 27, 20, "", true);
    EXPECT_STREQ(GetIdentifyString(words, 27, 46, true, text), " ");
    Put(words, 27, 20, std::string(40, 'x'), true);
    EXPECT_EQ(std::string(GetIdentifyString(words, 27, 46, false, text)), std::string(40, 'x'));
}

// Values that only an evaluation by model can bring into a record.
TEST(DriveProperties, ReadingsAndTheirAbsence)
{
    const auto query = [](const CAHCIPhysicalDrive& drive, PI::_PROPERTY_ID id)
    {
        std::vector<PI::CProperty> properties;
        EXPECT_EQ(GetPhysicalDriveProperties(drive, properties, id), PI::ERR_SUCCESS);
        EXPECT_EQ(properties.size(), 1U);
        return properties.empty() ? PI::CProperty() : properties.front();
    };

    CAHCIPhysicalDrive drive;
    drive.m_RemainingReserve = 0;
    drive.m_RatedEndurancePercent = 120;
    drive.m_BytesWritten = 1536ULL << 30;
    drive.m_PowerOnHours = 1;
    drive.m_RemainingLifeTimeHours = 0;

    for (const auto& [id, expected] :
         {std::pair{PI::PROP_REMAINING_RESERVE_SPACE, 0}, {PI::PROP_RATED_ENDURANCE_PERCENT, 120}})
    {
        int value = -1, minimum = -1, maximum = -1;
        unsigned step = 0;
        const PI::CProperty property = query(drive, id);
        EXPECT_EQ(property.GetValue(value, minimum, maximum, step), PI::ERR_SUCCESS);
        EXPECT_EQ(value, expected);
        EXPECT_EQ(property.m_ViewMask, 0xFFFFFFFF);
    }
    float real = 0;
    const PI::CProperty property = query(drive, PI::PROP_BYTES_WRITTEN);
    EXPECT_EQ(property.GetValue(real), PI::ERR_SUCCESS);
    EXPECT_FLOAT_EQ(real, 1.5F);
    EXPECT_EQ(property.m_Unit, PI::UNIT_TERABYTES);
    EXPECT_EQ(property.m_ValueFormat, 8U);
    EXPECT_EQ(query(drive, PI::PROP_POWERON_HOURS).m_ViewMask, 0xFFFFFFFF);

    const auto date = [&](std::uint64_t hours)
    {
        drive.m_RemainingLifeTimeHours = hours;
        std::string text;
        EXPECT_EQ(query(drive, PI::PROP_ESTIMATED_LIFETIME).GetValue(text), PI::ERR_SUCCESS);
        return text;
    };
    const std::string today = date(0);
    EXPECT_EQ(today.size(), 10U);
    EXPECT_LT(today, date(48));
    EXPECT_EQ(date(std::numeric_limits<std::uint64_t>::max() - 1), "9999-12-31");

    const struct
    {
        PI::_VALUE_ID status, media;
        std::uint32_t icon;
    } icons[] = {{PI::VAL_OPERATIONAL, PI::VAL_HDD, 24093},
                 {PI::VAL_OPERATIONAL, PI::VAL_SSD, 24201},
                 {PI::VAL_FAILED, PI::VAL_HDD, 24074},
                 {PI::VAL_FAILED, PI::VAL_SSD, 24177},
                 {PI::VAL_AVAILABLE_SMART, PI::VAL_HDD, 24115},
                 {PI::VAL_AVAILABLE_SMART, PI::VAL_SSD, 24189},
                 {PI::VAL_AVAILABLE, PI::VAL_HDD, 24081},
                 {PI::VAL_AVAILABLE, PI::VAL_SSD, 24183}};
    for (const auto& c : icons)
    {
        drive.m_Status = c.status;
        drive.m_MediaType = c.media;
        EXPECT_EQ(query(drive, PI::PROP_STATUS).m_IconID, c.icon);
    }
    drive.m_Status = PI::VAL_AVAILABLE_SMART;
    EXPECT_EQ(CheckPhysicalDriveOperation(drive, PI::COperation(PI::OP_FORMAT_DEVICE)),
              PI::ERR_PHYSICALDRIVE_NOT_AVAILABLE);
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
