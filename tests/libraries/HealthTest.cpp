#include "contracts/zelPlug.h"

#include <algorithm>
#include <cstring>
#include <gtest/gtest.h>
#include <set>
#include <span>
#include <sstream>
#include <tuple>

namespace
{

using PI::CPluginHelper;

/// Number, model, leading characters, rating, flag.
std::string RowOf(std::span<const PI::CSATALifeTimeData> table, std::size_t number)
{
    std::ostringstream text;
    const PI::CSATALifeTimeData& row = table[number - 1];
    text << number << ' ' << row.m_Model << ' ' << row.m_CompareLength << ' '
         << row.m_RatedEndurance << ' ' << row.m_LifeTimeFlag;
    return text.str();
}

TEST(LifeTimeTables, HoldTheirRows)
{
    const auto sata = PI::SataLifeTimeTable();
    const auto nvme = PI::NvmeLifeTimeTable();
    const auto sas = PI::SasLifeTimeTable();
    ASSERT_EQ(std::tuple(sata.size(), sas.size(), nvme.size()), std::tuple(104U, 86U, 50U));
    EXPECT_EQ(std::ranges::count(sata, 1U, &PI::CSATALifeTimeData::m_LifeTimeFlag), 10);
    for (const std::string text :
         {"1 SSDSC2BB120G4C 13 70 0", "19 SSDSC2BB240G7 13 600 0", "29 SSDPEDMD800G4C 13 14258 0",
          "36 SATADOM-ML 3ME 0 3000 0", "40 SATADOM-ML 3SE3 0 60000 1",
          "45 M.2 (S42) 3IE4 0 20000 1", "52 MZ7KM1T9HAJM-000FU 10 121500 0",
          "104 MZ7L33T8HBNA-00A03 10 21024 0"})
        EXPECT_EQ(RowOf(sata, std::stoul(text)), text);
    for (const std::string text : {"1 SSDPEDMD800G4C 14 14600 0", "33 SSDPF21Q032TB 13 584000 0",
                                   "50 KCM61VUL12T8 12 70080 0"})
        EXPECT_EQ(RowOf(nvme, std::stoul(text)), text);
    for (const auto& [number, model, rating] : {std::tuple(5, "PX04SMB320", 57600U),
                                                {45, "PX05SRQ384B", 7008},
                                                {86, "XS15360SE70084", 28032}})
        EXPECT_EQ(std::tuple(sas[number - 1].m_Model, sas[number - 1].m_RatedEndurance),
                  std::tuple(model, rating));

    // Rows 59 to 62 repeat rows 55 to 58; no other model stands twice.
    std::set<std::string> models;
    for (const PI::CSATALifeTimeData& data : sata)
        models.insert(data.m_Model);
    EXPECT_EQ(models.size(), 100U);
    for (std::size_t number = 55; number < 59; ++number)
        EXPECT_EQ(RowOf(sata, number).substr(3), RowOf(sata, number + 4).substr(3));
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
        {"SSDSC2BB240G7X", "SSDSC2BB240G7C"}, // goes along as far with both: the first row
        {"MZ7KH1T9HAJR0D3", "MZ7KH1T9HAJR-00005"},
        {"MZ7L31T9HBNA-00B7C", "MZ7L31T9HBNA-00A03"},
        {"MZ7L31T9HB", "MZ7L31T9HBLT-00A03"},
        {"MZ7L31T9H", nullptr},
        {"Micron_5300HC MTFDDAK480TDS", "MTFDDAK480TDS"},
        {"InnoDisk Corp. - SATADOM-ML 3ME4", "SATADOM-ML 3ME4"},
        {"satadom-ml_3me", "SATADOM-ML 3ME"}, // no beginning of 3ME3 or 3ME4
        {"SATADOM-ML 3ME5", nullptr},
        {"SSDPE7KX500G7C1", nullptr}, // in the NVMe table alone
        {"FAST SSDSC2BB240G7", nullptr},
        {" _ _\t", nullptr},
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
    // The third column is the product, null: the whole model.
    const std::tuple<std::string, const char*, const char*> cases[] = {
        {"  WDC   WD10EZEX-08 X  ", "WDC", "WD10EZEX-08 X"},
        {"Samsung SSD 870 QVO 4TB", "Samsung", "SSD 870 QVO 4TB"},
        {"InnoDisk Corp. - mSATA 3ME4", "InnoDisk Corp.", "mSATA 3ME4"},
        {"Innodisk Corp. mSATA 3SE DEMSR- 02GB", "Innodisk Corp.", "mSATA 3SE DEMSR- 02GB"},
        {"InnoDisk Corp.", "InnoDisk", "Corp."},
        {"Micron_5300_MTFDDAK480TDS", "Micron", "5300_MTFDDAK480TDS"},
        {"INTEL -", "INTEL", "-"},
        {" \t ", "", ""},
        {"2.5\" SATA SSD 3ME4", "INNODISK", nullptr},
        {"2.5\" SATA SSD", "", nullptr},
        {"SD Ultra 3D 1TB", "SANDISK", nullptr},
        {"ST1000LM024 HN-M101MBB", "SEAGATE", nullptr},
        {"Micron_", "", nullptr},
        {"MB0500EBNCR", "", nullptr},
        {"FOO_BAR", "", nullptr},
        {"X _\t_", "", nullptr}};
    for (const auto& [model, vendor, product] : cases)
    {
        const std::string expected = product ? product : model;
        std::string first = "old";
        std::string own = model; // a result may be the model's own string
        EXPECT_EQ(CPluginHelper::SplitSATAModelName(own, first, own), expected.empty() ? 20006 : 0);
        EXPECT_EQ(std::tuple(first, own), std::tuple(vendor, expected)) << model;
    }
}

/// A page of "id:current:raw" with blanks between. The entries stand at its end: places are free.
PI::_IDE_SMART_DATA PageOf(const std::string& entries)
{
    PI::_IDE_SMART_DATA page{};
    auto* next = std::end(page.m_Attributes) - std::ranges::count(entries, ':') / 2;
    std::istringstream in(entries);
    in.unsetf(std::ios::basefield); // 0x is told by itself
    unsigned id = 0, current = 0;
    char colon = 0;
    for (std::uint64_t raw = 0; in >> id >> colon >> current >> colon >> raw; ++next)
    {
        next->m_ID = static_cast<std::uint8_t>(id);
        next->m_Value = static_cast<std::uint8_t>(current);
        std::memcpy(next->m_Raw, &raw, sizeof(next->m_Raw));
    }
    return page;
}

/// Hours, bytes, percent used, percent left, rating; -1 for a percentage that is not told.
std::string Told(const PI::CSmartValues& values)
{
    std::ostringstream told;
    told << values.m_PowerOnHours << ' ' << values.m_BytesWritten << ' '
         << static_cast<std::int32_t>(values.m_RatedEndurancePercent) << ' '
         << static_cast<std::int32_t>(values.m_RemainingReserve) << ' ' << values.m_Rating;
    return told.str();
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
        {"INTEL", "SSDSC2BB240G7", "233:101:0 232:253:0 170:0:0", "0 0 -1 0 600"},
        // OEM firmware: another place, or none that is certain.
        {"", "SSDSCKJB240G7R", "9:1:2 225:1:3 233:0:9 245:70:70 170:9:0", "2 100663296 30 9 0"},
        {"INTEL", "SSDSC2BB240G4X", "9:1:2 225:1:3 233:1:9", "2 0 -1 -1 140"},
        {"INTEL", "SSDSC2KB480G8L 01PE", "241:1:9 233:90:0 232:80:0", "0 0 10 80 0"},
        {"", "MZ7KH480HAHQ0D3", "177:99:54 233:99:2 245:1:1", "0 1024 1 -1 2628"},
        {"INTEL", "SSDSC2KW120H6", "9:1:894000 233:1:0", "0 0 -1 -1 0"},
        {"SAMSUNG", "MZ7KM960HMJP-00005", "177:94:1941 179:5:0 180:99:7 241:9:3 9:1:1",
         "1 1536 6 99 6160"},
        {"SAMSUNG", "MZ7LH960HAJR-00005", "241:1:0xFFFFFFFFFFFF 177:0:0 180:0:0", "0 0 -1 0 1366"},
        {"SAMSUNG", "MZ7LH960HAJR-00005", "177:0:9", "0 0 100 -1 1366"},
        {"MICRON", "5300_MTFDDAK480TDS", "246:1:4 202:0:255 170:10:0 180:0:9",
         "0 2048 255 10 1314"},
        {"MICRON", "MTFDDAK480TDS", "202:0:256 9:1:1", "1 0 -1 -1 1314"},
        // 169, else erase counts by the cycles of the model's row or of the family.
        {"INNODISK", "(S42) 3ME4", "9:0:6 169:94:94 167:0:9 170:9:1 232:0:0 241:1:2",
         "6 67108864 6 9 0"},
        {"INNODISK", "(S42) 3IE4", "169:0:0 167:0:10000 170:0:0", "0 0 50 -1 0"},
        {"SATADOM-SH", "3ME3", "169:0:0 167:0:9000", "0 0 255 -1 0"},
        {"Innodisk Corp.", "SATADOM-ML 3ME", "173:100:0x19001485 169:0:0 170:0:5 241:1:1",
         "0 0 175 -1 0"},
        {"KINGSTON", "SKC600256G", "241:1:1 169:0:97", "0 33554432 3 -1 0"},
        {"KINGSTON", "SA400S37480G", "231:98:98 170:1:9 241:1:2", "0 2147483648 2 -1 0"},
        {"SANDISK", "SDSSDH3500G", "9:1:1 232:100:101", "1 0 -1 -1 0"},
        {"Seagate", "IronWolf ZA480NM10001", "231:99:0 232:97:0", "0 0 1 97 0"},
        {"", "HITACHI_DK23EA-20", "9:1:180", "3 0 -1 -1 0"},
        {"SEAGATE", "ST8000NM000A-2KE101", "9:1:0x692200005592 241:1:9 231:1:1 202:1:99",
         "21906 0 -1 -1 0"},
    };
    for (const auto& [vendor, product, page, told] : cases)
    {
        PI::CSmartValues values(vendor, product);
        EXPECT_TRUE(values.IsSupported()) << product;
        EXPECT_EQ(values.Evaluate(PageOf(page)), !std::string(told).starts_with("0 0 -1 -1"));
        EXPECT_EQ(Told(values), told) << product;
    }
}

TEST(SmartValues, AreNoneOfUnknownModels)
{
    const std::pair<std::string, std::string> cases[] = {
        {"Patriot", "Burst"},
        {"", ""},
        {"SAMSUNG", "HS122JC"},
        {"SAMSUNG", "ST8000NM0000"},
        {"*", "*"},
        {std::string(1 << 20, 'a'), std::string(1 << 20, '*')}};
    for (const auto& [vendor, product] : cases)
    {
        PI::CSmartValues values(vendor, product);
        EXPECT_FALSE(values.IsSupported() || values.Evaluate(PageOf("9:100:7"))) << product;
        EXPECT_EQ(Told(values), "0 0 -1 -1 0");
    }
}

TEST(RemainingLife, FollowsTheLargerShare)
{
    constexpr std::uint64_t TB = 1000000000000, all = UINT64_MAX;
    constexpr std::uint32_t None = 0xFFFFFFFF;
    constexpr std::uint64_t no = 77; // what was there before
    struct Case
    {
        std::uint64_t hours, bytes;
        std::uint32_t percent;
        std::uint64_t rating, left;
    };
    const auto check = [](std::span<const Case> cases)
    {
        for (const auto& [hours, bytes, percent, rating, left] : cases)
        {
            std::uint64_t remaining = no;
            const bool told =
                CPluginHelper::ComputeRemainingLifeTime(hours, bytes, percent, rating, remaining);
            EXPECT_EQ(std::pair(told, remaining), std::pair(left != no, left))
                << hours << ' ' << bytes << ' ' << percent << ' ' << rating;
        }
    };
    // Of 1 hour: a drive that tells no hours.
    const Case wear[] = {{1000, 0, 0, 0, no},     {1, 0, 50, 0, no},    {1, 0, 100, 0, 0},
                         {2, 0, 10, 0, 18},       {167, 0, 9, 0, no},   {168, 0, 9, 0, 1698},
                         {1000, 0, 3, 0, 32333},  {1000, 0, 255, 0, 0}, {all, 0, 1, 0, all},
                         {all, 0, 75, 0, all / 3}};
    const Case writes[] = {
        {1000, TB, None, 0, no},           {1000, 0, None, 100, no},
        {0, 500 * TB, 200, 100, no},       {1000, 1, None, all, all},
        {all, all, None, all, 0},          {1000, 5 * TB, None, 100, 19000},
        {1000, 5 * TB, 10, 100, 9000},     {1000, 50 * TB, 10, 100, 1000},
        {167, 10 * TB - 1, None, 100, no}, {167, 10 * TB, 9, 100, 1503},
        {1, 100 * TB, None, 100, 0},       {all, all / 2 + 1, None, all, all - 2}};
    check(wear);
    check(writes);
}

} // namespace
