#include "contracts/zelPlug.h"

#include <algorithm>
#include <cstring>
#include <gtest/gtest.h>
#include <random>
#include <set>
#include <tuple>

namespace
{

using PI::CPluginHelper;

constexpr std::uint32_t None = 0xFFFFFFFF;
constexpr std::uint64_t AllBits = UINT64_MAX;

TEST(LifeTimeTables, HoldTheirRows)
{
    const auto sata = PI::SataLifeTimeTable();
    const auto nvme = PI::NvmeLifeTimeTable();
    const auto sas = PI::SasLifeTimeTable();
    ASSERT_EQ(std::tuple(sata.size(), sas.size(), nvme.size()), std::tuple(104U, 86U, 50U));
    EXPECT_EQ(std::ranges::count(sata, 1U, &PI::CSATALifeTimeData::m_LifeTimeFlag), 10);
    const auto row = [](const PI::CSATALifeTimeData& data)
    {
        return data.m_Model + ' ' + std::to_string(data.m_CompareLength) + ' ' +
               std::to_string(data.m_RatedEndurance) + ' ' + std::to_string(data.m_LifeTimeFlag);
    };
    const std::pair<std::size_t, const char*> sataRows[] = {
        {1, "SSDSC2BB120G4C 13 70 0"},        {13, "SSDSC2BB240G7C 13 600 0"},
        {19, "SSDSC2BB240G7 13 600 0"},       {29, "SSDPEDMD800G4C 13 14258 0"},
        {30, "SSDPEDMD016T4C 13 29200 0"},    {36, "SATADOM-ML 3ME 0 3000 0"},
        {38, "SATADOM-ML 3ME3 0 3000 1"},     {40, "SATADOM-ML 3SE3 0 60000 1"},
        {45, "M.2 (S42) 3IE4 0 20000 1"},     {52, "MZ7KM1T9HAJM-000FU 10 121500 0"},
        {55, "MZ7KM240HMHQ-000FU 10 1540 0"}, {104, "MZ7L33T8HBNA-00A03 10 21024 0"}};
    const std::pair<std::size_t, const char*> nvmeRows[] = {{1, "SSDPEDMD800G4C 14 14600 0"},
                                                            {13, "SSDPE7KX500G7C1 13 670 0"},
                                                            {33, "SSDPF21Q032TB 13 584000 0"},
                                                            {50, "KCM61VUL12T8 12 70080 0"}};
    const std::tuple<std::size_t, const char*, unsigned> sasRows[] = {
        {5, "PX04SMB320", 57600},
        {42, "PX05SRB048", 855},
        {45, "PX05SRQ384B", 7008},
        {56, "SDLL1DLR480G5CF1", 855},
        {86, "XS15360SE70084", 28032}};
    for (const auto& [number, text] : sataRows)
        EXPECT_EQ(row(sata[number - 1]), text);
    for (const auto& [number, text] : nvmeRows)
        EXPECT_EQ(row(nvme[number - 1]), text);
    for (const auto& [number, model, rating] : sasRows)
        EXPECT_EQ(std::tuple(sas[number - 1].m_Model, sas[number - 1].m_RatedEndurance),
                  std::tuple(model, rating));

    // Rows 59 to 62 repeat rows 55 to 58; no other model stands twice.
    std::set<std::string> models;
    for (const PI::CSATALifeTimeData& data : sata)
        models.insert(data.m_Model);
    EXPECT_EQ(models.size(), 100U);
    for (std::size_t i = 54; i < 58; ++i)
        EXPECT_EQ(row(sata[i]), row(sata[i + 4]));
}

TEST(LifeTimeTables, FindEveryFormOfAModel)
{
    for (const auto& row : PI::SataLifeTimeTable())
    {
        const auto* found = CPluginHelper::findLifeTimeProp(row.m_Model);
        ASSERT_NE(found, nullptr) << row.m_Model;
        EXPECT_EQ(found->m_Model, row.m_Model);
    }
    // The second column is the row's model, null: unknown.
    const std::pair<std::string, const char*> cases[] = {
        {"SSDSC2BB240G4", "SSDSC2BB240G4C"},
        {"  intel   ssdsc2bb240g7 ", "SSDSC2BB240G7"},
        {"SOLIDIGM SSDSC2KG019T7", "SSDSC2KG019T7"},
        {"SSDSC2BB240G7X", "SSDSC2BB240G7C"}, // goes along as far with both: the first row
        {"SSDSC2BB240G", nullptr},
        {"SSDSC2BB240G5", nullptr},
        {"MZ7KM960HMJP-00005", "MZ7KM960HMJP-000FU"},
        {"MZ7KM960HAHP-00005", "MZ7KM960HAHP-000FU"},
        {"MZ7KH1T9HAJR0D3", "MZ7KH1T9HAJR-00005"},
        {"MZ7L31T9HBLT-00A07", "MZ7L31T9HBLT-00A03"},
        {"MZ7L31T9HBNA-00B7C", "MZ7L31T9HBNA-00A03"},
        {"MZ7L31T9HB", "MZ7L31T9HBLT-00A03"},
        {"MZ7L31T9H", nullptr},
        {"Micron_5300_MTFDDAK480TDS", "MTFDDAK480TDS"},
        {"5300_MTFDDAK480TDS", "MTFDDAK480TDS"},
        {"Micron 5300HC MTFDDAK480TDS", "MTFDDAK480TDS"},
        {"InnoDisk Corp. - SATADOM-ML 3ME4", "SATADOM-ML 3ME4"},
        {"satadom-ml_3me", "SATADOM-ML 3ME"}, // no beginning of 3ME3 or 3ME4
        {"SATADOM-ML 3ME5", nullptr},
        {"M.2 (S42) 3ME4", "M.2 (S42) 3ME4"},
        {"SSDPE7KX500G7C1", nullptr}, // in the NVMe table alone
        {"FAST SSDSC2BB240G7", nullptr},
        {"INTEL", nullptr},
        {"", nullptr},
        {" _ _\t", nullptr},
        {std::string(100000, 'M'), nullptr},
        {"MZ7KM960HMJP" + std::string(100000, '-'), "MZ7KM960HMJP-000FU"},
        {std::string("SSDSC2BB240G7\0\xFF", 15), "SSDSC2BB240G7C"},
    };
    for (const auto& [text, model] : cases)
    {
        const auto* found = CPluginHelper::findLifeTimeProp(text);
        EXPECT_EQ(found ? found->m_Model : "", model ? model : "") << text.substr(0, 40);
    }
}

TEST(ModelNames, SplitAsAPersonWould)
{
    const std::tuple<std::string, const char*, const char*> cases[] = {
        {"INTEL SSDSC2BB240G7", "INTEL", "SSDSC2BB240G7"},
        {"  WDC   WD10EZEX-08 X  ", "WDC", "WD10EZEX-08 X"},
        {"Samsung SSD 870 QVO 4TB", "Samsung", "SSD 870 QVO 4TB"},
        {"SPCC Solid State Disk", "SPCC", "Solid State Disk"},
        {"NIET LSSSD2CBB42G0 7", "NIET", "LSSSD2CBB42G0 7"},
        {"M.2 (S42) 3ME4", "M.2", "(S42) 3ME4"},
        {"(S42) 3IE3", "INNODISK", "(S42) 3IE3"},
        {"SATADOM-SH 3ME3", "INNODISK", "SATADOM-SH 3ME3"},
        {"2.5\" SATA SSD 3ME4", "INNODISK", "2.5\" SATA SSD 3ME4"},
        {"2.5\" SATA SSD", "", "2.5\" SATA SSD"},
        {"SATA SSD", "", "SATA SSD"},
        {"SD Ultra 3D 1TB", "SANDISK", "SD Ultra 3D 1TB"},
        {"InnoDisk Corp. - mSATA 3ME4", "InnoDisk Corp.", "mSATA 3ME4"},
        {"Innodisk Corp. mSATA 3SE DEMSR- 02GB", "Innodisk Corp.", "mSATA 3SE DEMSR- 02GB"},
        {"InnoDisk Corp.", "InnoDisk", "Corp."},
        {"DEM24-16GM41BC1DC-PC", "INNODISK", "DEM24-16GM41BC1DC-PC"},
        {"Micron_5300_MTFDDAK480TDS", "Micron", "5300_MTFDDAK480TDS"},
        {"Micron_M550_MTFDDAT064MAY", "Micron", "M550_MTFDDAT064MAY"},
        {"MTFDDAV240TCB", "MICRON", "MTFDDAV240TCB"},
        {"MZ7KH1T9HAJR0D3", "SAMSUNG", "MZ7KH1T9HAJR0D3"},
        {"SSDSCKJB240G7R", "INTEL", "SSDSCKJB240G7R"},
        {"ST1000LM024 HN-M101MBB", "SEAGATE", "ST1000LM024 HN-M101MBB"},
        {"st320410a", "SEAGATE", "st320410a"},
        {"WD4000FYYX 39M4533", "WDC", "WD4000FYYX 39M4533"},
        {"WUH721818ALE6L4", "WDC", "WUH721818ALE6L4"},
        {"CT1000MX500SSD1", "CRUCIAL", "CT1000MX500SSD1"},
        {"TS32GMTS400", "TRANSCEND", "TS32GMTS400"},
        {"HUS724020ALE640", "HGST", "HUS724020ALE640"},
        {"MB0500EBNCR", "", "MB0500EBNCR"},
        {"IC25N020ATCS04-0", "", "IC25N020ATCS04-0"},
        {"FOO_BAR", "", "FOO_BAR"},
        {"Micron_", "", "Micron_"},
        {"_", "", "_"},
        {"X _\t_", "", "X _\t_"},
        {"INTEL -", "INTEL", "-"},
        {" \t ", "", ""},
    };
    for (const auto& [model, vendor, product] : cases)
    {
        std::string first = "old";
        std::string own = model; // a result may be the model's own string
        EXPECT_EQ(CPluginHelper::SplitSATAModelName(own, first, own), *product ? 0 : 20006)
            << model;
        EXPECT_EQ(std::tuple(first, own), std::tuple(vendor, product)) << model;
    }
}

/// A page of "id:current:raw" with blanks between. The entries stand at its end: places are free.
PI::_IDE_SMART_DATA PageOf(const std::string& entries)
{
    PI::_IDE_SMART_DATA page{};
    const auto count = std::ranges::count(entries, ':') / 2;
    PI::_IDE_SMART_ATTRIBUTE* next = std::end(page.m_Attributes) - count;
    const char* text = entries.c_str();
    const auto number = [&text]
    {
        char* end = nullptr;
        const std::uint64_t value = std::strtoull(text, &end, 0);
        text = end + (*end == ':');
        return value;
    };
    for (; next != std::end(page.m_Attributes); ++next)
    {
        next->m_ID = static_cast<std::uint8_t>(number());
        next->m_Value = static_cast<std::uint8_t>(number());
        const std::uint64_t raw = number();
        for (std::size_t i = 0; i < 6; ++i)
            next->m_Raw[i] = static_cast<std::uint8_t>(raw >> 8 * i);
    }
    return page;
}

/// Hours, bytes, percent used, percent left, rating; "-" for a percentage that is not told.
std::string Told(const PI::CSmartValues& values)
{
    const auto percent = [](std::uint32_t value)
    { return value == None ? std::string("-") : std::to_string(value); };
    return std::to_string(values.m_PowerOnHours) + ' ' + std::to_string(values.m_BytesWritten) +
           ' ' + percent(values.m_RatedEndurancePercent) + ' ' +
           percent(values.m_RemainingReserve) + ' ' + std::to_string(values.m_Rating);
}

TEST(SmartValues, AreReadByFamily)
{
    struct Case
    {
        const char *vendor, *product, *page, *told;
    };
    const Case cases[] = {
        // Steps of 32 MiB; the upper bytes of 9 are no hours; of two entries the first holds.
        {"INTEL", "SSDSC2BA012T4", "9:100:0xABCDEF00BBBD 9:1:7 241:100:4729932 233:99:0 232:98:0",
         "48061 158710181658624 1 98 24300"},
        {"intel", "ssdsc2kb480g8", "241:1:0xFFFFFFFFFFFE 233:1:0 170:97:0",
         "0 18446744073709551615 99 97 0"},
        {"SAMSUNG", "MZ7LH960HAJR-00005", "9:1:1 241:1:0xFFFFFFFFFFFF", "1 0 - - 1366"},
        {"INTEL", "SSDSC2BB240G7", "233:101:0 232:253:0 170:0:0", "0 0 - 0 600"},
        {"INTEL", "SSDSC2BB240G7", "233:101:0 225:1:9 177:1:0", "0 0 - - 600"},
        // OEM firmware: another place, or none that is certain.
        {"", "SSDSCKJB240G7R", "9:1:2 225:1:3 233:0:9 245:70:70 170:9:0", "2 100663296 30 9 0"},
        {"INTEL", "SSDSC2BB240G4X", "9:1:2 225:1:3 233:1:9", "2 0 - - 140"},
        {"", "MZ7KH480HAHQ0D3", "177:99:54 233:99:2 245:1:1", "0 1024 1 - 2628"},
        {"INTEL", "SSDSC2KW120H6", "9:1:894000 233:1:0", "0 0 - - 0"},
        {"SAMSUNG", "MZ7KM960HMJP-00005", "177:94:1941 179:5:0 180:99:7 241:9:3 9:1:1",
         "1 1536 6 99 6160"},
        {"SAMSUNG", "MZ7LH960HAJR-00005", "177:0:0 180:0:0", "0 0 - 0 1366"},
        {"SAMSUNG", "MZ7LH960HAJR-00005", "177:0:9", "0 0 100 - 1366"},
        {"Samsung", "SSD 850 PRO 256GB", "177:1:7282 179:99:1 202:5:5", "0 0 99 99 0"},
        {"MICRON", "5300_MTFDDAK480TDS", "246:1:4 202:0:130 170:10:0 180:0:9",
         "0 2048 130 10 1314"},
        {"Micron", "5100_MTFDDAK960TBY", "202:0:255 170:0:0", "0 0 255 0 0"},
        {"MICRON", "MTFDDAK480TDS", "202:0:256 9:1:1", "1 0 - - 1314"},
        {"CRUCIAL", "CT1000MX500SSD1", "202:97:3 180:0:17 170:0:0 246:1:1", "0 512 3 - 0"},
        // 169, else erase counts by the cycles of the model's row or of the family.
        {"INNODISK", "(S42) 3ME4", "9:0:6 169:94:94 167:0:9 170:9:1 232:0:0 241:1:2",
         "6 67108864 6 9 0"},
        {"INNODISK", "(S42) 3IE4", "169:0:0 167:0:10000 170:0:0", "0 0 50 - 0"},
        {"SATADOM-SH", "3ME3", "169:0:0 167:0:9000", "0 0 255 - 0"},
        {"INNODISK", "SATADOM-ML 3ME", "173:100:0x19001485 169:0:0 170:0:5 241:1:1", "0 0 175 - 0"},
        {"Innodisk Corp.", "mSATA 3SE DEMSR- 02GB", "9:0:13904 173:100:3342360", "13904 0 0 - 0"},
        {"INNODISK", "SATADOM-ML 3SE3", "9:0:1 169:0:0 241:1:1", "1 0 - - 0"},
        {"INTEL", "SSDSC2KB480G8L 01PE", "241:1:9 233:90:0 232:80:0", "0 0 10 80 0"},
        {"Micron", "M500DC_MTFDDAK240MBB", "246:1:9 202:0:7 170:96:0", "0 0 7 96 0"},
        {"CRUCIAL", "CT250BX100SSD1", "241:1:1 169:0:95 202:0:9", "0 33554432 5 - 0"},
        {"", "M4-CT128M4SSD2", "9:1:4 202:99:1 246:1:1", "4 0 1 - 0"},
        {"InnoDisk Corp.", "- mSATA 1IE3", "169:0:99 167:0:9 170:98:5", "0 0 1 98 0"},
        {"KINGSTON", "SKC600256G", "241:1:1 169:0:97", "0 33554432 3 - 0"},
        {"KINGSTON", "SV300S37A120G", "9:1:0xAB00000007 231:99:0 241:1:1", "7 1073741824 1 - 0"},
        {"WD", "Blue SA510 2.5 1TB", "9:1:1 230:5:5 232:9:9", "1 0 - 9 0"},
        {"SanDisk", "SD8SBAT128G1122", "9:1:1 230:1:1 232:1:1 241:1:1", "1 0 - - 0"},
        {"Seagate", "IronWolf ZA480NM10001", "231:99:0 232:97:0", "0 0 1 97 0"},
        {"TOSHIBA", "THNSN8240PCSE", "173:190:0 232:0:0 241:1:1", "0 33554432 - - 0"},
        {"", "HITACHI_DK23EA-20", "9:1:180", "3 0 - - 0"},
        {"KINGSTON", "SA400S37480G", "231:98:98 170:1:9 241:1:2", "0 2147483648 2 - 0"},
        {"WDC", "WDS100T2B0A-00SM50", "230:100:57 232:92:92 241:253:1", "0 1073741824 - 92 0"},
        {"SANDISK", "SDSSDH3500G", "9:1:1 232:100:101", "1 0 - - 0"},
        {"Seagate", "BarraCuda SSD ZA500CM10002", "231:90:0 232:3:0 241:1:1",
         "0 1073741824 10 - 0"},
        {"SEAGATE", "ST8000NM000A-2KE101", "9:1:0x692200005592 241:1:9 231:1:1 202:1:99",
         "21906 0 - - 0"},
        {"Maxtor", "6Y120P0", "9:1:28870", "481 0 - - 0"},
        {"", "TOSHIBA MK2556GSY", "9:1:119", "1 0 - - 0"},
    };
    for (const auto& [vendor, product, page, told] : cases)
    {
        PI::CSmartValues values(vendor, product);
        EXPECT_TRUE(values.IsSupported()) << product;
        EXPECT_EQ(values.Evaluate(PageOf(page)), !std::string(told).starts_with("0 0 - -"));
        EXPECT_EQ(Told(values), told) << product;
    }
}

TEST(SmartValues, AreNoneOfUnknownModelsAndSaneOfAnyPage)
{
    for (const auto& [vendor, product] : {std::pair("Patriot", "Burst"),
                                          {"", ""},
                                          {"", "SATA SSD"},
                                          {"SAMSUNG", "HS122JC"},
                                          {"SAMSUNG", "ST8000NM0000"},
                                          {"*", "*"}})
    {
        PI::CSmartValues values(vendor, product);
        EXPECT_FALSE(values.IsSupported()) << product;
        EXPECT_FALSE(values.Evaluate(PageOf("9:100:7")));
        EXPECT_EQ(std::tuple(values.m_PowerOnHours, values.m_RatedEndurancePercent),
                  std::tuple(0U, None));
    }
    EXPECT_FALSE(
        PI::CSmartValues(std::string(1 << 20, 'a'), std::string(1 << 20, '*')).IsSupported());

    std::mt19937 random(1);
    for (const auto& row : PI::SataLifeTimeTable())
        for (int i = 0; i < 200; ++i)
        {
            PI::_IDE_SMART_DATA page;
            const auto bytes = reinterpret_cast<std::uint8_t*>(&page);
            std::generate_n(bytes, sizeof(page),
                            [&] { return static_cast<std::uint8_t>(random()); });
            PI::CSmartValues values(row.m_Vendor, row.m_Model);
            values.Evaluate(page);
            EXPECT_LE(values.m_PowerOnHours, 0xFFFFFFU);
            EXPECT_TRUE(values.m_RatedEndurancePercent <= 255 ||
                        values.m_RatedEndurancePercent == None);
            EXPECT_TRUE(values.m_RemainingReserve <= 100 || values.m_RemainingReserve == None);
        }
}

TEST(RemainingLife, FollowsTheLargerShare)
{
    constexpr std::uint64_t TB = 1000000000000;
    constexpr std::uint64_t no = 77; // what was there before
    struct Case
    {
        std::uint64_t hours, bytes;
        std::uint32_t percent;
        std::uint64_t rating, left;
    };
    // Of 1 hour: a drive that tells no hours.
    const Case cases[] = {{1000, 0, None, 0, no},
                          {1000, 0, 0, 0, no},
                          {1000, 5 * TB, None, 0, no},
                          {1000, 0, None, 100, no},
                          {0, 500 * TB, 200, 100, no},
                          {1000, 5 * TB, None, 100, 19000},
                          {1000, 0, 5, 0, 19000},
                          {1000, 5 * TB, 10, 100, 9000},
                          {1000, 50 * TB, 10, 100, 1000},
                          {1000, 100 * TB - 1, 0, 100, 0},
                          {1000, 100 * TB, 0, 100, 0},
                          {1000, 250 * TB, 40, 100, 0},
                          {1000, 0, 99, 0, 10},
                          {1000, 0, 100, 0, 0},
                          {1000, 0, 255, 0, 0},
                          {1000, 0, 3, 0, 32333},
                          {167, 0, 9, 0, no},
                          {168, 0, 9, 0, 1698},
                          {167, 0, 10, 0, 1503},
                          {167, 10 * TB - 1, None, 100, no},
                          {167, 10 * TB, 9, 100, 1503},
                          {2, 0, 10, 0, 18},
                          {1, 0, 50, 0, no},
                          {1, 50 * TB, 20, 100, no},
                          {1, 0, 100, 0, 0},
                          {1, 100 * TB, None, 100, 0},
                          {AllBits, 0, 50, 0, AllBits},
                          {AllBits, 0, 1, 0, AllBits},
                          {AllBits, 0, 75, 0, AllBits / 3},
                          {AllBits, AllBits, None, AllBits, 0},
                          {1000, 1, None, AllBits, AllBits},
                          {1000, AllBits - 1, None, AllBits, 0},
                          {AllBits, AllBits / 2 + 1, None, AllBits, AllBits - 2}};
    for (const auto& [hours, bytes, percent, rating, left] : cases)
    {
        std::uint64_t remaining = no;
        const bool told =
            CPluginHelper::ComputeRemainingLifeTime(hours, bytes, percent, rating, remaining);
        EXPECT_EQ(std::pair(told, remaining), std::pair(left != no, left))
            << hours << ' ' << bytes << ' ' << percent << ' ' << rating;
    }
}

} // namespace
