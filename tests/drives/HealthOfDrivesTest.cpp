// The SMART pages of real drives against what other tools told of the same drives.
#include "contracts/zelPlug.h"

#include <cstdlib>
#include <fstream>
#include <gtest/gtest.h>
#include <map>
#include <sstream>

namespace
{

using Row = std::map<std::string, std::string>; // column to text

std::string Folder()
{
    const char* set = std::getenv("TARNIS_DRIVES");
    return set && *set ? set : TARNIS_SOURCE_DIR "/../shared/drives";
}

std::vector<std::string> FieldsOf(const std::string& line)
{
    std::vector<std::string> fields;
    std::istringstream text(line);
    for (std::string field; std::getline(text, field, '\t');)
        fields.push_back(field);
    return fields;
}

std::vector<Row> RowsOf(std::istream& table)
{
    std::vector<Row> rows;
    std::string line;
    std::getline(table, line);
    const std::vector<std::string> header = FieldsOf(line);
    while (std::getline(table, line))
    {
        const std::vector<std::string> fields = FieldsOf(line);
        Row& row = rows.emplace_back();
        for (std::size_t i = 0; i < fields.size() && i < header.size(); ++i)
            row[header[i]] = fields[i];
    }
    return rows;
}

constexpr const char* StepsOf32MiB = "counts in steps of 32 MiB; the other tool asked another log";
constexpr const char* AheadByOne = "177 leaves 100 with the first erased block, the drive's own "
                                   "percentage does not";
constexpr const char* NoReading = "";

/// What differs from the other tool: drive, column, what is told here, why.
const std::tuple<const char*, const char*, const char*, const char*> differences[] = {
    {"intel-ssdsc2ba012t4", "expected_bytes_written", "158710181658624", StepsOf32MiB},
    {"intel-ssdsc2ba100g3", "expected_bytes_written", "9628075163648", StepsOf32MiB},
    {"intel-ssdsc2ba400g4", "expected_bytes_written", "13436738076672", StepsOf32MiB},
    {"samsung-mz7km960hmjp-00005", "expected_percent_used", "1", AheadByOne},
    {"mz7kh1t9hajr0d3", "expected_percent_used", "1", AheadByOne},
    {"mz7kh480hahq0d3", "expected_percent_used", "1", AheadByOne},
};

/// The difference that is named for a drive's column, else what the other tool told.
std::string WantedOf(const Row& row, const char* column)
{
    for (const auto& [slug, differing, told, why] : differences)
        if (row.at("slug") == slug && std::string(differing) == column)
        {
            EXPECT_NE(row.at(column), told) << slug << " agrees, and yet: " << why;
            return told;
        }
    return row.at(column);
}

TEST(RealDrives, TellWhatOtherToolsTold)
{
    std::ifstream table(Folder() + "/drives.tsv");
    if (!table)
        GTEST_SKIP() << "skipped: no drives.tsv in " << Folder();
    for (Row& row : RowsOf(table))
    {
        std::string vendor;
        std::string product;
        PI::CPluginHelper::SplitSATAModelName(row["model"], vendor, product);
        PI::_IDE_SMART_DATA page{};
        std::ifstream file(Folder() + '/' + row["slug"] + ".smart.bin", std::ios::binary);
        file.read(reinterpret_cast<char*>(&page), sizeof(page));
        ASSERT_TRUE(file) << row["slug"];

        PI::CSmartValues values(vendor, product);
        const bool filled = values.Evaluate(page);
        EXPECT_EQ(filled, values.IsSupported()) << row["slug"];
        const auto text = [&](std::uint64_t value, std::uint64_t unknown)
        { return !filled || value == unknown ? NoReading : std::to_string(value); };
        const std::tuple<const char*, std::string> told[] = {
            {"expected_power_on_hours", text(values.m_PowerOnHours, 0)},
            {"expected_bytes_written", text(values.m_BytesWritten, 0)},
            {"expected_percent_used", text(values.m_RatedEndurancePercent, 0xFFFFFFFF)},
        };
        for (const auto& [column, value] : told)
            EXPECT_TRUE(row[column].empty() || value == WantedOf(row, column))
                << row["slug"] << ' ' << column << " is '" << value << '\'';
    }
}

} // namespace
