// Any record: its row gives it back as it is kept, when it is new and when another took its place.
// Any cell: numbers are read from it as the C library reads them.
#include "contracts/zelStore.h"
#include "database/Conditions.h"
#include "database/RowConversion.h"
#include "database/SafeText.h"
#include "database/Storage.h"
#include "tests/fuzz/Require.h"

#include <fuzzer/FuzzedDataProvider.h>

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

namespace
{

using namespace DatabaseORM;
using namespace RaidDataModels;
using Input = FuzzedDataProvider;

storage_t& Database()
{
    static const auto database = []
    {
        setenv("TARNIS_DATABASE", ":memory:", 1);
        return getDatabasePointer();
    }();
    return *database;
}

/// Texts that mean something somewhere on the way come often.
std::string AnyText(Input& input)
{
    static constexpr const char* special[] = {"NULL", "null", "''", "\"", "?", "NUL", "--", "1e5"};
    const auto choice = input.ConsumeIntegral<std::uint8_t>();
    return choice < std::size(special) ? special[choice]
                                       : input.ConsumeRandomLengthString(choice % 32U);
}

void Fill(Input& input, std::string& value)
{
    value = AnyText(input);
}
void Fill(Input& input, std::vector<std::string>& value)
{
    value.resize(input.ConsumeIntegralInRange<std::size_t>(0, 3));
    for (std::string& element : value)
        element = AnyText(input);
}
void Fill(Input& input, double& value)
{
    const auto bits = input.ConsumeIntegral<std::uint64_t>();
    if (bits % 2 == 0)
        std::memcpy(&value, &bits, sizeof value);
    else
        value = static_cast<double>(static_cast<std::int32_t>(bits >> 32)) / 1000;
}
template <class Integer> void Fill(Input& input, Integer& value)
{
    value = input.ConsumeIntegral<Integer>();
}

template <class T> T AnyRecord(Input& input)
{
    T record;
    ModelFields<T>::Walk(
        [&](auto, auto member, const FieldRow& row)
        {
            if (row.role != FieldRole::Id && input.ConsumeIntegral<std::uint8_t>() % 4 != 0)
                Fill(input, record.*member);
        });
    return record;
}

void Keep(std::string& value)
{
    std::ranges::replace(value, '\0', ' ');
}
void Keep(std::uint64_t& value)
{
    if (value >> 63 != 0)
        value = Kinds::Unsigned::Unset();
}
void Keep(std::int32_t&) {}
/// Elements hold no question mark then, and none is empty; one that reads "NULL" means unset.
void Keep(std::vector<std::string>& value)
{
    std::string joined;
    for (std::string& element : value)
    {
        Keep(element);
        joined += element + '?';
    }
    value.clear();
    for (std::size_t begin = 0, end = 0; begin < joined.size(); begin = end + 1)
    {
        end = joined.find('?', begin);
        if (end != begin)
            value.push_back(joined.substr(begin, end - begin));
    }
}
void Keep(double& value)
{
    if (!std::isfinite(value) || std::abs(value) < 0.0000005)
        value = Kinds::Real::Unset();
}

template <class Value> bool IsSame(const Value& kept, const Value& read)
{
    if constexpr (std::is_same_v<Value, double>) // six digits are kept behind the point
        return std::abs(kept - read) <= std::max(1e-14 * std::abs(kept), 0.00000051);
    else
        return kept == read;
}

template <class T> void RequireSame(T kept, const T& read)
{
    ModelFields<T>::Walk(
        [&](auto, auto member, const FieldRow& row)
        {
            if (row.role == FieldRole::Id)
                return;
            Keep(kept.*member);
            Require(IsSame(kept.*member, read.*member), row.name);
        });
}

auto KeyOf(const Plugin& row)
{
    return Equal(&Plugin::pluginName, ConditionText(row.pluginName));
}
template <class T> auto HostKeyOf(const T& row)
{
    return And{Equal(&T::hostName, ConditionText(row.hostName)),
               Equal(&T::globalAdapterNumber, row.globalAdapterNumber)};
}
auto KeyOf(const Adapter& row)
{
    return HostKeyOf(row);
}
auto KeyOf(const PD& row)
{
    return And{HostKeyOf(row), Equal(&PD::deviceNumber, row.deviceNumber)};
}
auto KeyOf(const Partition& row)
{
    return And{HostKeyOf(row), Equal(&Partition::partitionName, ConditionText(row.partitionName))};
}

template <class T> T OnlyRow(const T& key)
{
    const std::vector<T> rows = Database().select<T>(KeyOf(key));
    Require(rows.size() == 1, "one row has the key");
    return rows.front();
}

/// A record is inserted, takes another's fields and is removed.
template <class T> void Live(const T& first, const T& second)
{
    Database().insert(SafeModel(first));
    T row = OnlyRow(first);
    RequireSame(first, row);
    const std::int32_t id = row.id;

    row = second;
    row.id = id;
    Database().update(SafeModel(row));
    row = OnlyRow(second);
    RequireSame(second, row);
    Require(row.id == id, "a row keeps its id");

    row = OnlyRow(second);
    Database().update(SafeModel(row)); // what was read may be written back
    RequireSame(second, OnlyRow(second));
    Database().remove<T>(KeyOf(second));
    Require(Database().select<T>(KeyOf(second)).empty(), "a removed row is gone");
}

PD DriveOf(const Partition& partition)
{
    PD drive;
    drive.hostName = partition.hostName;
    drive.globalAdapterNumber = partition.globalAdapterNumber;
    drive.deviceNumber = 7;
    drive.uniqueId = partition.driveUniqueId;
    return drive;
}

/// As Live, with a drive for each of both, whose end is the end of its partition.
void LivePartition(Partition first, Partition second)
{
    second.globalAdapterNumber = first.globalAdapterNumber ^ 1; // two drives
    const PD drives[] = {DriveOf(first), DriveOf(second)};
    for (const PD& drive : drives)
        Database().insert(SafeModel(drive));
    Live(first, second);
    Database().insert(SafeModel(first));
    Database().remove<PD>(KeyOf(drives[0]));
    Require(first.driveUniqueId == unsetText || // it is no drive's then
                Database().select<Partition>(KeyOf(first)).empty(),
            "a drive's end is its partition's");
    Database().remove<Partition>(KeyOf(first));
    Database().remove<PD>(KeyOf(drives[1]));
}

/// @tparam Kind  of the field that is read
/// @tparam Told  what the C library's number must fit in
/// @param convert  the C library's reading
template <class Kind, class Told, class Convert>
void CompareReading(const std::string& cell, Convert convert)
{
    char* end = nullptr;
    errno = 0;
    const auto number = convert(cell.c_str(), &end);
    const bool isTold = end != cell.c_str() && errno == 0 && std::in_range<Told>(number);
    typename Kind::Type read{};
    ReadCell(cell, read);
    Require(read == (isTold ? static_cast<typename Kind::Type>(number) : Kind::Unset()),
            ("a cell: " + cell).c_str());
}

void ReadAnyCell(const std::string& cell)
{
    if (cell.find('\0') != cell.npos) // which ends a text of C
        return;
    const auto integer = [](const char* text, char** end) { return std::strtoll(text, end, 10); };
    CompareReading<Kinds::Int, std::int32_t>(cell, integer);
    CompareReading<Kinds::Unsigned, std::int64_t>(cell, integer);
    if (cell.find_first_of("xXnNiI") != cell.npos) // hexadecimal numbers are read by C alone
        return;
    double real = 0;
    char* end = nullptr;
    errno = 0;
    const double number = std::strtod(cell.c_str(), &end);
    ReadCell(cell, real);
    Require(real == (end != cell.c_str() && errno == 0 ? number : Kinds::Real::Unset()),
            "a real number");
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    Input input(data, size);
    switch (input.ConsumeIntegral<std::uint8_t>() % 5)
    {
    case 0:
        Live(AnyRecord<Plugin>(input), AnyRecord<Plugin>(input));
        break;
    case 1:
        Live(AnyRecord<Adapter>(input), AnyRecord<Adapter>(input));
        break;
    case 2:
        Live(AnyRecord<PD>(input), AnyRecord<PD>(input));
        break;
    case 3:
        LivePartition(AnyRecord<Partition>(input), AnyRecord<Partition>(input));
        break;
    default:
        ReadAnyCell(input.ConsumeRemainingBytesAsString());
    }
    return 0;
}
