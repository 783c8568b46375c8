#include "contracts/zelPlug.h"
#include "libraries/zelPlug/FamilyTable.h"

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

TEST(LifeTimeTables, HoldTheirRows)
{
    const auto sata = PI::SataLifeTimeTable();
    const auto nvme = PI::NvmeLifeTimeTable();
    const auto sas = PI::SasLifeTimeTable();
    ASSERT_EQ(std::tuple(sata.size(), sas.size(), nvme.size()), std::tuple(104U, 86U, 50U));
    EXPECT_EQ(std::ranges::count(sata, 1U, &PI::CSATALifeTimeData::m_LifeTimeFlag), 10);
    EXPECT_EQ(nvme.back().m_RatedEndurance, 70080U);
    EXPECT_EQ(sas.back().m_RatedEndurance, 28032U);
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
        {"SSD Smartbuy 240GB", "", nullptr},
        {"1TB SATA SSD", "", nullptr},
        {"ST250-M280 256GB SSD", "", nullptr},
        {"SATA Slim 3ME3", "INNODISK", nullptr},
        {"HDS722020ALA330 RSD HUA", "HITACHI", nullptr},
        {"VK0240GDJXU", "", nullptr},
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

struct PageCase
{
    const char *vendor, *product, *page, *told;
};

void ExpectReadings(std::span<const PageCase> cases)
{
    for (const auto& [vendor, product, page, told] : cases)
    {
        PI::CSmartValues values(vendor, product);
        EXPECT_TRUE(values.IsSupported()) << product;
        EXPECT_EQ(values.Evaluate(PageOf(page)), !std::string(told).starts_with("0 0 -1 -1"));
        EXPECT_EQ(Told(values), told) << vendor << ' ' << product << ' ' << page;
    }
}

TEST(SmartValues, OfSolidStateDrives)
{
    const PageCase cases[] = {
        // Steps of 32 MiB; the upper bytes of 9 are no hours; of two entries the first holds.
        {"INTEL", "SSDSC2BA012T4", "9:100:0xABCDEF00BBBD 9:1:7 241:100:4729932 233:99:0 232:98:0",
         "48061 158710181658624 1 98 24300"},
        {"intel", "ssdsc2kb480g8", "241:1:0xFFFFFFFFFFFE 233:1:0 170:97:0",
         "0 18446744073709551615 99 97 0"},
        {"INTEL", "SSDSC2BB240G7", "233:101:0 232:253:0 170:0:0", "0 0 -1 0 600"},
        // A reserve at its threshold is used up, one above is told as it is; 184 has no say before.
        {"INTEL", "SSDSC2BB240G7", "232:10:0 184:91:0", "0 0 -1 0 600"},
        {"INTEL", "SSDSC2BB240G7", "232:11:0 170:12:0 184:91:0", "0 0 -1 11 600"},
        {"INTEL", "SSDSC2BB240G7", "232:100:0 184:90:0", "0 0 -1 0 600"},
        {"INTEL", "SSDSC2BB240G7", "184:91:0 233:0:0", "0 0 -1 -1 600"},
        // Firmware of system builders has other places.
        {"", "SSDSCKJB240G7R", "9:1:2 225:1:3 233:0:9 245:70:70 170:12:0", "2 301989888 30 12 0"},
        {"", "SSDSCKJB240G7R", "225:1:3 170:50:0 201:10:1 245:99:0", "0 100663296 1 0 0"},
        {"", "SSDSC2KB480GZR", "233:1:3 232:10:0 245:1:0", "0 100663296 99 0 0"},
        {"INTEL", "SSDSC2BB300G4T", "233:1:1 245:30:0 179:60:0", "0 33554432 70 60 0"},
        {"INTEL", "SSDSC2KG480GZL 02JG594D7A44686LEN", "241:1:9 233:90:0 232:80:0",
         "0 301989888 10 80 0"},
        {"", "MZ7KH480HAHQ0D3", "177:99:54 233:99:2 245:97:1", "0 1024 3 -1 2628"},
        {"MICRON", "MTFDDAK480TDS", "9:1:7 233:1:2 245:40:0 202:9:9 5:60:0", "7 1024 60 55 1314"},
        {"", "MTFDDAK480TDS-1AW1ZA 02JG532D7A44694LEN", "177:1:1 231:70:0 241:1:1 233:1:5",
         "0 512 30 -1 1314"},
        // The hours of INTEL 520 start at 894784; what is beyond any life is no count of hours.
        {"INTEL", "SSDSC2CW120A3", "9:1:894790 233:86:0 241:1:1", "6 33554432 14 -1 0"},
        {"INTEL", "SSDSC2CW120A3", "9:1:894783 233:0:0", "0 0 -1 -1 0"},
        {"INTEL", "SSDSC2CW120A3", "9:1:5000", "5000 0 -1 -1 0"},
        {"INTEL", "SSDSC2CW120A3", "9:1:0 233:86:0 241:1:1", "0 33554432 14 -1 0"},
        {"INTEL", "SSDSC2KW120H6", "9:1:300000", "300000 0 -1 -1 0"},
        {"INTEL", "SSDSC2KW120H6", "9:1:300001", "0 0 -1 -1 0"},
        {"SAMSUNG", "MZ7KM960HMJP-00005", "177:94:1941 179:80:0 180:99:7 241:9:3 9:1:1",
         "1 1536 6 80 6160"},
        {"SAMSUNG", "MZ7LH960HAJR-00005", "241:1:0xFFFFFFFFFFFF 177:0:0 180:0:0", "0 0 -1 0 1366"},
        {"SAMSUNG", "MZ7LH960HAJR-00005", "177:0:9 180:100:0", "0 0 100 0 1366"},
        {"Samsung", "SSD 850 PRO 256GB", "177:5:9 179:99:0", "0 0 95 99 0"},
        {"", "VK001920GWSXK", "173:10:1 5:100:0", "0 0 90 0 0"},
        {"", "VK000480GWCNE", "173:10:1 202:11:1 5:100:0", "0 0 90 100 0"},
        {"SAMSUNG", "MZ7LH960HAJR-00005", "180:70:9 202:10:3", "0 0 -1 0 1366"},
        {"Samsung", "SSD 860 EVO 1TB", "177:87:1 5:10:1", "0 0 13 0 0"},
        {"Samsung", "SSD 870 QVO 1TB", "177:5:1 179:63:1", "0 0 99 63 0"},
        {"Samsung", "SSD 850 PRO 256GB", "177:87:1", "0 0 13 -1 0"},
        {"SAMSUNG", "MZNLN512HMJP-00000", "173:99:4 241:99:3 249:99:3 180:100:1",
         "0 3221225472 1 100 0"},
        {"SAMSUNG", "MZ7LN512HMJP-00000", "173:1:1437 241:99:3", "0 0 99 0 0"},
        {"MICRON", "5300_MTFDDAK480TDS", "246:1:4 202:0:255 170:11:0 180:0:9",
         "0 2048 255 11 1314"},
        {"MICRON", "5300_MTFDDAK480TDS", "202:2:98 170:100:0 5:1:9", "0 0 98 0 1314"},
        {"MICRON", "MTFDDAK480TDS", "202:0:0x1000000 9:1:1", "1 0 -1 -1 1314"},
        {"CRUCIAL", "CT500MX500SSD1", "202:241:115 246:1:2 5:98:8", "0 1024 115 97 0"},
        // One name, two layouts.
        {"", "CT120BX500SSD1", "202:55:55 173:100:681 246:1:1", "0 512 45 -1 0"},
        {"", "CT120BX500SSD1", "202:94:6 173:94:101 246:1:1", "0 512 6 -1 0"},
        {"KINGSTON", "SA400S37240G", "231:81:19 244:100:801 241:1:2", "0 2147483648 80 -1 0"},
        {"KINGSTON", "SA400S37240G", "231:93:7 244:100:76", "0 0 7 -1 0"},
        {"KINGSTON", "SA400S37240G", "231:98:98 244:100:9 169:1:9 241:1:2", "0 2147483648 2 -1 0"},
        {"KINGSTON", "SA400S37240G", "231:98:98 244:100:9 169:1:0 241:1:2", "0 0 2 -1 0"},
        {"KINGSTON", "SA400S37240G", "231:98:98 170:1:9 241:1:2", "0 2147483648 2 -1 0"},
        // 169, else erase counts by the cycles of the model's row or of the family.
        {"INNODISK", "(S42) 3ME4", "9:0:6 169:94:94 167:0:9 170:11:1 232:0:0 241:1:2",
         "6 67108864 6 11 0"},
        {"INNODISK", "(S42) 3IE4", "169:0:0 167:0:10000 170:0:5", "0 0 50 -1 0"},
        {"", "SATA Slim 3ME3", "169:0:0 167:0:9000", "0 0 255 -1 0"},
        {"Innodisk Corp.", "SATADOM-ML 3ME", "173:100:0x19001485 169:0:0 170:0:5 241:1:1",
         "0 0 175 -1 0"},
        {"KINGSTON", "SKC600256G", "241:1:1 169:0:97", "0 0 3 -1 0"},
        {"KINGSTON", "SEDC500M960G", "231:100:0x640000000056 170:100:0 241:1:1",
         "0 1073741824 14 100 0"},
        {"WDC", "WDS100T2B0A-00SM50", "173:100:0x50000fa 232:100:90 241:253:1",
         "0 1073741824 25 100 0"},
        {"SanDisk", "SSD PLUS 240 GB", "173:100:250 232:5:9", "0 0 50 0 0"},
        {"SANDISK", "SDSSDP064G", "241:100:2 232:100:0", "0 1024 -1 100 0"},
        {"Seagate", "IronWolf ZA480NM10001", "231:99:0 232:97:0", "0 0 1 97 0"},
        {"", "XA1920ME10063", "231:91:1 232:99:0 241:1:1", "0 1073741824 9 99 0"},
        {"TOSHIBA", "THNSN8960PCSE", "173:170:9 5:75:0", "0 0 30 50 0"},
        {"", "SDLF1DAR-480G-1HA1", "241:1:3 245:97:97", "0 3000000000 3 -1 0"},
        {"", "VK0240GDJXU", "5:98:1 173:1:0", "0 0 99 0 0"},
        {"LITEON", "IT EBT-480N9S", "9:100:5005119", "83418 0 -1 -1 0"},
    };
    ExpectReadings(cases);
}

TEST(SmartValues, SayWhereTheyComeFrom)
{
    const PI::CSmartValues values("INTEL", "SSDSC2BB240G7");
    PI::CSmartExplanation told;
    EXPECT_TRUE(values.Explain(PageOf("170:55:0 232:55:0 232:9:0 233:90:0"), told));
    EXPECT_EQ(told.m_ReserveID, 232) << "the first of the family's, where two are the same";
    EXPECT_EQ(told.m_EnduranceID, 233);
    EXPECT_EQ(told.m_HoursID, 0);
    ASSERT_EQ(told.m_Attributes.size(), 4U);
    EXPECT_EQ(told.m_Attributes[1].m_Threshold, 10);
    EXPECT_EQ(told.m_Attributes[1].m_Margin, 55U);
    EXPECT_EQ(told.m_Attributes[2].m_Threshold, 0) << "of an id that stands twice the first counts";
}

TEST(SmartValues, OfHardDisks)
{
    const PageCase cases[] = {
        // Margins of spare sectors: at the threshold, 8, 9 and 10 percent above, and when new.
        {"HGST", "HUS726040ALE614", "2:1:1 8:1:1 5:5:1", "0 0 -1 0 0"},
        {"HGST", "HUS726040ALE614", "2:1:1 8:1:1 5:13:1", "0 0 -1 8 0"},
        {"HGST", "HUS726040ALE614", "2:1:1 8:1:1 5:14:1", "0 0 -1 9 0"},
        {"HGST", "HUS726040ALE614", "2:1:1 8:1:1 5:15:1", "0 0 -1 10 0"},
        {"HGST", "HUS726040ALE614", "2:1:1 8:1:1 5:100:0", "0 0 -1 100 0"},
        {"WDC", "WD40EFRX-68N32N0", "11:1:1 200:1:1 5:140:9", "0 0 -1 0 0"},
        {"WDC", "WD40EFRX-68N32N0", "11:1:1 200:1:1 5:145:9", "0 0 -1 8 0"},
        {"WDC", "WD40EFRX-68N32N0", "11:1:1 200:1:1 5:146:9", "0 0 -1 10 0"},
        {"WDC", "WD40EFRX-68N32N0", "11:1:1 200:1:1 5:253:9", "0 0 -1 100 0"},
        {"WDC", "WD102KRYZ-01A5AB0", "2:1:1 8:1:1 22:100:1 5:100:0", "0 0 -1 100 0"},
        {"", "WUH721818ALE6L4", "2:1:1 8:1:1 22:25:1 5:100:0", "0 0 -1 0 0"},
        // The others count at their threshold alone.
        {"SEAGATE", "ST8000NM000A-2KE101", "5:100:0 1:45:9 10:98:0 184:100:0 18:51:0",
         "0 0 -1 100 0"},
        {"SEAGATE", "ST8000NM000A-2KE101", "5:100:0 1:44:9", "0 0 -1 0 0"},
        {"SEAGATE", "ST4000DM000-1F2168", "183:99:1 5:100:0 1:44:9", "0 0 -1 100 0"},
        {"SEAGATE", "ST4000DM000-1F2168", "183:99:1 5:100:0 184:99:1", "0 0 -1 0 0"},
        {"", "ST3500418AS", "5:36:1", "0 0 -1 0 0"},
        {"", "ST1000NM0018-2F2130", "7:90:1 184:100:0 10:98:0", "0 0 -1 100 0"},
        {"", "ST8000NM012A-2KE131", "7:90:1 18:50:0", "0 0 -1 0 0"},
        {"SAMSUNG", "HD103SJ", "5:252:0 9:1:9", "9 0 -1 100 0"},
        {"TOSHIBA", "MG08ACA16TE", "5:19:0 23:76:0", "0 0 -1 10 0"},
        {"TOSHIBA", "MG04ACA400N", "5:55:0", "0 0 -1 10 0"},
        {"", "MB1000GCEHH", "184:100:1 5:100:0 196:36:1", "0 0 -1 0 0"},
        {"", "MB1000EBNCF", "11:100:0 200:200:0 5:197:1 184:100:0", "0 0 -1 95 0"},
        {"", "MB014000GWTFF", "2:100:0 8:100:0 5:100:0 23:75:0", "0 0 -1 0 0"},
        {"", "ST2000LM007-1R8174", "5:42:9 7:1:1", "0 0 -1 9 0"},
        // Minutes, or hours.
        {"", "HITACHI_DK23EA-20", "9:1:180", "3 0 -1 -1 0"},
        {"TOSHIBA", "MK5056GSY", "9:1:180", "3 0 -1 -1 0"},
        {"TOSHIBA", "MK1661GSYG", "9:1:180", "180 0 -1 -1 0"},
        {"Maxtor", "6V160E0", "9:1:180", "180 0 -1 -1 0"},
        {"SEAGATE", "ST8000NM000A-2KE101", "9:1:0x692200005592 241:1:9 231:1:1 202:1:99",
         "21906 0 -1 -1 0"},
    };
    ExpectReadings(cases);
}

/// What nobody knows by its model may be known by its page; else it has hours and a margin.
TEST(SmartValues, OfModelsThatNobodyKnows)
{
    const std::string smi = "160:1:1 161:1:1 163:1:1 167:1:9 9:1:5 ";
    const std::string phison = "170:99:1 173:1:1 192:1:1 218:1:1 9:1:5 ";
    const std::string sandForce = "177:0:1 181:0:0 204:1:1 230:1:1 9:1:0x100000005 ";
    const std::string disk = "3:1:1 7:1:1 10:1:0 9:1:5 ";
    const std::tuple<std::string, std::string, const char*> cases[] = {
        {"Some", smi + "169:100:60 232:100:97 241:1:1", "5 0 40 97 0"},
        {"Some", smi + "169:100:0 232:100:0", "5 0 100 -1 0"},
        {"Some", phison + "231:100:71 241:1:1", "5 1073741824 29 -1 0"},
        {"Some", phison + "231:99:0 241:1:1", "5 0 1 -1 0"},
        {"Some", phison + "231:100:71 241:1:0xFFFFFF", "5 0 29 -1 0"}, // faster than the interface
        {"Some", "170:10:1 " + phison + "231:100:71", "5 0 29 0 0"},
        {"Some", sandForce + "231:86:0 5:100:0 241:0:2", "5 2147483648 14 100 0"},
        {"Some", sandForce + "231:86:0 244:70:9 5:3:9", "5 0 30 0 0"},
        {"Some", "206:1:1 207:1:75 208:1:1 9:1:5 241:1:1", "5 1073741824 10 -1 0"},
        {"Some", "2:1:1 8:1:0 173:160:0 240:1:1 " + disk + "241:1:1", "5 512 40 -1 0"},
        {"mSATA 3SE2", "2:0:0 3:0:0 5:0:0 7:0:0 8:0:0 9:0:5 10:0:0 169:0:0 173:100:505 240:0:0",
         "5 0 -1 -1 0"},
        {"Some", "202:70:30 206:1:1 210:1:1 246:1:1 9:1:5", "5 0 30 -1 0"},
        {"Some", "202:1:18000 206:1:1 210:1:1 246:1:1 9:1:5", "5 0 -1 -1 0"},
        {"Some", disk + "5:36:1 1:1:1 231:1:1", "5 0 -1 0 0"},
        {"Some", disk + "5:100:0 184:97:1", "5 0 -1 0 0"},
        {"Some", disk + "5:146:0", "5 0 -1 10 0"},
        {"Some", disk + "11:1:1 200:1:1 199:200:0 5:93:9",
         "5 0 -1 0 0"}, // it stays one that counts from 200
        {"Some", "9:1:5 5:10:0 231:1:1 202:1:100 233:1:1", "5 0 -1 0 0"},
        {"Some", "9:1:5 5:0:7 177:1:1", "5 0 -1 -1 0"},
        {"Some", "9:1:5 5:8:8", "5 0 -1 -1 0"},
        {"*", "9:1:5", "5 0 -1 -1 0"},
        {"", "194:1:30", "0 0 -1 -1 0"},
        {std::string(1 << 20, 'a'), "9:1:5", "5 0 -1 -1 0"},
    };
    for (const auto& [model, page, told] : cases)
    {
        const PageCase one = {model.c_str(), model.c_str(), page.c_str(), told};
        ExpectReadings({&one, 1});
    }
}

TEST(SmartFamilies, WrongRowsAreNamedByTheirLine)
{
    using PI::Internals::FirstWrongLine;
    const std::string head = "A | B | C | +9 -5 1:cur=raw 1:cur!=raw 1:raw=0 1:cur>100 1:cur=100\n";
    const std::string good =
        "    9/60 | 1*1GiB 2*512 | 3:raw 4:w0/9 | 5>1/2 6!3 7%4? 8:raw? | S F\n";
    EXPECT_EQ(FirstWrongLine("# comment\n\n" + head + good), 0U);
    for (const char* wrong :
         {"A | B | | +9\n", "A | B | C | 9\n", "A | B | C | +256\n", "A | B | C | 1:cur\n",
          "A | B | C[1-2] |\n", "A | B | C[12 |\n", "    9 | | | | S\n"})
        EXPECT_EQ(FirstWrongLine("#\n" + std::string(wrong)), 2U) << wrong;
    for (const char* wrong :
         {"9 | | | |", "x | | | | S", "9/0 | | | | S", "9-x | | | | S", "9 | 1 | | | S",
          "9 | 1*0 | | | S", "9 | 1*1KB | | | S", "9 | 1*1 2*1 3*1 4*1 | | | S",
          "9 | | 1:cur | | S", "9 | | 1:raw/0 | | S", "9 | | 1:100-cur?? | | S",
          "9 | | | 5>100 | S", "9 | | | 5>9/9 | S", "9 | | | 5!254 | S", "9 | | | 5 | S",
          "9 | | | | S | F"})
        EXPECT_EQ(FirstWrongLine(head + "    " + wrong + "\n" + good), 2U) << wrong;
    EXPECT_EQ(FirstWrongLine(head + good + good), 3U);
    EXPECT_EQ(FirstWrongLine(head + head), 2U);
}

TEST(RemainingLife, FollowsWearElseWrites)
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
    const Case writes[] = {{1000, TB, None, 0, no},         {1000, 0, None, 100, no},
                           {0, 500 * TB, 200, 100, no},     {1000, 1, None, all, all},
                           {all, all, None, all, 0},        {1000, 5 * TB, None, 100, 19000},
                           {1000, 5 * TB, 10, 100, 9000},   {1000, 500 * TB, 17, 100, 4882},
                           {1000, 500 * TB, 0, 100, no},    {167, 10 * TB - 1, None, 100, no},
                           {167, 10 * TB, None, 100, 1503}, {167, 10 * TB, 9, 100, no},
                           {1, 100 * TB, None, 100, 0},     {all, all / 2 + 1, None, all, all - 2}};
    check(wear);
    check(writes);
}

} // namespace
