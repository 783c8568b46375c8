// What the rows of a drive cost, from record to disk and back, each beside SQLite doing the same
// work. The sides take turns in one run, so that what else the machine does hits all of them alike.
#include "contracts/zelStore.h"
#include "database/Models.h"
#include "database/SafeText.h"
#include "database/Storage.h"

#include <benchmark/benchmark.h>
#include <sqlite3.h>

#include <stdlib.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <type_traits>
#include <vector>

namespace
{

using DatabaseORM::And;
using DatabaseORM::ConditionText;
using DatabaseORM::Equal;
using DatabaseORM::SafeModel;
using DatabaseORM::storage_t;
using RaidDataModels::FieldRole;
using RaidDataModels::FieldRow;
using RaidDataModels::Partition;
using RaidDataModels::PD;
using Texts = std::vector<std::string>;

constexpr int Rounds = 1001;
/// Of each side in a round. Few: a long turn would be interrupted in every round by what else runs,
/// a short one in few. Not one: the other sides have emptied the caches for it.
constexpr int Passes = 5;
constexpr int Drives = 8; ///< in the database, each with two partitions
constexpr int MeasuredDrive = 5;
constexpr int FirstTemperature = 20;
constexpr int Temperatures = 16; ///< that follow each other from pass to pass
constexpr int FirstNewDrive = 1000;
constexpr const char* allDrives = "SELECT * FROM raid_pd";

[[noreturn]] void Fail(const std::string& what)
{
    std::fprintf(stderr, "row_bench: %s\n", what.c_str());
    std::exit(1);
}

void Check(bool holds, std::string_view what)
{
    if (!holds)
        Fail(std::string(what));
}

// ---- rows ---------------------------------------------------------------------------------------

/// As filled as that of a solid-state drive with all its readings.
PD DriveRow(int number)
{
    const std::string digits = std::to_string(number);
    PD row;
    row.globalAdapterNumber = 0;
    row.objectId = static_cast<std::uint64_t>(number) + 3;
    row.hostName = "localhost";
    row.vendorName = "Intel Corporation";
    row.productName = "INTEL SSDSC2KB480G8";
    row.displayName = row.vendorName + " " + row.productName + " (" + digits + ")";
    row.portNumber = 0;
    row.deviceNumber = row.deviceNumberCopy = number;
    row.uniqueId = "PCI:Bus=0&Device=23&Function=0&ID=" + digits;
    row.typeName = "SATA";
    row.firmwareVersion = "XCV10110";
    row.serialNumber = "PHYF002104TK480BGN" + digits;
    row.physicalSize = row.configurableSize = 457862;
    row.statusName = "OPERATIONAL";
    row.osDevice = "Disk " + digits;
    row.mediaTypeName = "SSD";
    row.temperature = FirstTemperature - 1;
    row.remainingReserveSpace = 97;
    row.ratedEndurancePercent = row.ratedEndurancePercentCopy = 12;
    row.writtenVolume = 73014444032.0;
    row.powerOnHours = 21304;
    row.endOfLifeDate = "2038-01-19";
    return row;
}

Partition PartitionRow(const PD& drive, int number)
{
    Partition row;
    row.globalAdapterNumber = drive.globalAdapterNumber;
    row.hostName = drive.hostName;
    row.driveUniqueId = drive.uniqueId;
    row.partText1 = number == 1 ? "/boot" : "/srv/data";
    row.partNumber1 = 1048576ULL * static_cast<std::uint64_t>(number);
    row.partNumber2 = 240057409536ULL;
    row.partText2 = "ext4";
    row.partText4 = "Linux filesystem";
    row.partText5 = "0fc63daf-8483-4772-8e79-3d69d8477de" + std::to_string(number);
    row.partIndex = number;
    row.partitionName = drive.osDevice + " Partition " + std::to_string(number);
    return row;
}

auto IsDriveRow(const PD& drive)
{
    return And{And{Equal(&PD::globalAdapterNumber, drive.globalAdapterNumber),
                   Equal(&PD::hostName, drive.hostName)},
               Equal(&PD::deviceNumber, drive.deviceNumber)};
}

auto IsPartitionOf(const PD& drive)
{
    return Equal(&Partition::driveUniqueId, ConditionText(drive.uniqueId));
}

/// Whether two rows are equal in all fields but the id.
bool IsSameRow(const PD& a, const PD& b)
{
    bool same = true;
    RaidDataModels::ModelFields<PD>::Walk(
        [&](auto, auto member, const FieldRow& field)
        { same = same && (field.role == FieldRole::Id || a.*member == b.*member); });
    return same;
}

/// Whether the sides read the same. They write a whole real in two ways: as 97, and as 97.0.
bool IsSameCells(const Texts& ours, const Texts& others)
{
    return std::equal(ours.begin(), ours.end(), others.begin(), others.end(),
                      [](const std::string& our, const std::string& other)
                      { return our == other || our + ".0" == other; });
}

// ---- our side -----------------------------------------------------------------------------------

/// Passes all on, and keeps the texts and the cells that came back.
class Recorder : public DatabaseWrapper::DatabaseDAO
{
  public:
    explicit Recorder(storage_t& storage) : m_Storage(storage), m_Real(storage.dao)
    {
        storage.dao = this;
    }
    ~Recorder() override { m_Storage.dao = m_Real; }

    Texts query(std::string statement) override
    {
        texts.push_back(statement);
        Texts result = m_Real->query(std::move(statement));
        cells.insert(cells.end(), result.begin(), result.end());
        return result;
    }

    Texts texts;
    Texts cells;

  private:
    storage_t& m_Storage;
    DatabaseWrapper::DatabaseDAO* m_Real;
};

/// Only takes the text.
class TextTaker : public DatabaseWrapper::DatabaseDAO
{
  public:
    Texts query(std::string statement) override
    {
        benchmark::DoNotOptimize(statement.data());
        bytes = statement.size();
        return {};
    }

    std::size_t bytes = 0;
};

// ---- the other side -----------------------------------------------------------------------------

using Callback = int (*)(void*, int, char**, char**);

int KeepCells(void* cells, int count, char** values, char**)
{
    for (int i = 0; i < count; ++i)
        static_cast<Texts*>(cells)->emplace_back(values[i] ? values[i] : RaidDataModels::unsetText);
    return 0;
}

int KeepNothing(void*, int, char** values, char**)
{
    benchmark::DoNotOptimize(values);
    return 0;
}

class Connection
{
  public:
    explicit Connection(const std::string& file)
    {
        // One thread alone uses it; locks of its own for each cell would only slow it down.
        constexpr int flags = SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE | SQLITE_OPEN_NOMUTEX;
        Check(sqlite3_open_v2(file.c_str(), &m_Handle, flags, nullptr) == SQLITE_OK,
              "cannot open " + file);
        Query("PRAGMA journal_mode = WAL; PRAGMA synchronous = NORMAL; PRAGMA foreign_keys = ON;");
    }
    ~Connection() { sqlite3_close(m_Handle); }
    Connection(const Connection&) = delete;
    Connection& operator=(const Connection&) = delete;

    void Run(const std::string& text, Callback callback, void* cells)
    {
        if (sqlite3_exec(m_Handle, text.c_str(), callback, cells, nullptr) != SQLITE_OK)
            Fail(sqlite3_errmsg(m_Handle) + (" from " + text));
    }

    Texts Query(const std::string& text)
    {
        Texts cells;
        Run(text, KeepCells, &cells);
        return cells;
    }

    sqlite3* Handle() const { return m_Handle; }

  private:
    sqlite3* m_Handle = nullptr;
};

/// Insert and fetch of a drive's row as one would write them for this table alone.
class HandWritten
{
  public:
    HandWritten(Connection& connection, const storage_t& names)
    {
        std::string values = "INSERT INTO raid_pd VALUES(NULL";
        RaidDataModels::ModelFields<PD>::Walk(
            [&values](auto, auto, const FieldRow& field)
            { values += field.role == FieldRole::Id ? "" : ", ?"; });
        m_Insert = Prepared(connection, values + ")");
        m_Select = Prepared(connection, "SELECT * FROM raid_pd WHERE " +
                                            names.columnNameOf<PD>(&PD::globalAdapterNumber) +
                                            " = ? AND " + names.columnNameOf<PD>(&PD::hostName) +
                                            " = ? AND " +
                                            names.columnNameOf<PD>(&PD::deviceNumber) + " = ?");
    }
    ~HandWritten()
    {
        sqlite3_finalize(m_Insert);
        sqlite3_finalize(m_Select);
    }
    HandWritten(const HandWritten&) = delete;
    HandWritten& operator=(const HandWritten&) = delete;

    void Insert(const PD& row)
    {
        int parameter = 0;
        RaidDataModels::ModelFields<PD>::Walk(
            [&](auto, auto member, const FieldRow& field)
            {
                if (field.role != FieldRole::Id)
                    Bind(m_Insert, ++parameter, row.*member);
            });
        Check(sqlite3_step(m_Insert) == SQLITE_DONE, "no row inserted by hand");
        sqlite3_reset(m_Insert);
    }

    PD Fetch(const PD& key)
    {
        Bind(m_Select, 1, key.globalAdapterNumber);
        Bind(m_Select, 2, key.hostName);
        Bind(m_Select, 3, key.deviceNumber);
        Check(sqlite3_step(m_Select) == SQLITE_ROW, "no row fetched by hand");
        PD row;
        int column = 0;
        RaidDataModels::ModelFields<PD>::Walk(
            [&](auto, auto member, const FieldRow& field)
            { Read(m_Select, field.role == FieldRole::Id ? 0 : ++column, row.*member); });
        Check(sqlite3_step(m_Select) == SQLITE_DONE, "two rows of a key");
        sqlite3_reset(m_Select);
        return row;
    }

  private:
    static sqlite3_stmt* Prepared(const Connection& connection, const std::string& text)
    {
        sqlite3_stmt* statement = nullptr;
        Check(sqlite3_prepare_v2(connection.Handle(), text.c_str(), -1, &statement, nullptr) ==
                  SQLITE_OK,
              "refused: " + text);
        return statement;
    }

    static void BindText(sqlite3_stmt* statement, int at, const std::string& value,
                         sqlite3_destructor_type keep)
    {
        sqlite3_bind_text(statement, at, value.data(), static_cast<int>(value.size()), keep);
    }
    template <class Value> static void Bind(sqlite3_stmt* statement, int at, const Value& value)
    {
        using namespace RaidDataModels;
        if constexpr (std::is_same_v<Value, std::string>)
        {
            if (value == unsetText)
                sqlite3_bind_null(statement, at);
            else
                BindText(statement, at, value, nullptr);
        }
        else if constexpr (std::is_same_v<Value, Texts>)
        {
            std::string list;
            for (const std::string& element : value)
                list.append(list.empty() ? "" : "?").append(element);
            BindText(statement, at, list, reinterpret_cast<sqlite3_destructor_type>(-1));
        }
        else if constexpr (std::is_same_v<Value, double>)
        {
            if (value == 0 || value == Kinds::Real::Unset())
                sqlite3_bind_null(statement, at);
            else
                sqlite3_bind_double(statement, at, value);
        }
        else if (value ==
                 std::conditional_t<std::is_signed_v<Value>, Kinds::Int, Kinds::Unsigned>::Unset())
            sqlite3_bind_null(statement, at);
        else
            sqlite3_bind_int64(statement, at, static_cast<sqlite3_int64>(value));
    }

    static std::string_view Text(sqlite3_stmt* statement, int at)
    {
        const auto* text = reinterpret_cast<const char*>(sqlite3_column_text(statement, at));
        return {text, static_cast<std::size_t>(sqlite3_column_bytes(statement, at))};
    }
    /// A NULL leaves the field unset, as the record began.
    template <class Value> static void Read(sqlite3_stmt* statement, int at, Value& value)
    {
        if (sqlite3_column_type(statement, at) == SQLITE_NULL)
            return;
        if constexpr (std::is_same_v<Value, std::string>)
            value = Text(statement, at);
        else if constexpr (std::is_same_v<Value, Texts>)
        {
            std::string_view rest = Text(statement, at);
            while (!rest.empty())
            {
                const std::size_t length = std::min(rest.find('?'), rest.size());
                value.emplace_back(rest.substr(0, length));
                rest.remove_prefix(std::min(length + 1, rest.size()));
            }
        }
        else if constexpr (std::is_same_v<Value, double>)
            value = sqlite3_column_double(statement, at);
        else
            value = static_cast<Value>(sqlite3_column_int64(statement, at));
    }

    sqlite3_stmt* m_Insert = nullptr;
    sqlite3_stmt* m_Select = nullptr;
};

// ---- both sides' databases ----------------------------------------------------------------------

/// Our database with some drives in it, and others that are its equals.
class Setting
{
  public:
    explicit Setting(bool onDisk) : m_OnDisk(onDisk)
    {
        if (m_OnDisk)
        {
            m_Folder = std::filesystem::temp_directory_path() / "row_bench.XXXXXX";
            std::string pattern = m_Folder.string();
            Check(mkdtemp(pattern.data()) != nullptr, "cannot make " + pattern);
            m_Folder = pattern;
        }
        const std::string file = File("ours.db");
        setenv("TARNIS_DATABASE", file.c_str(), 1);
        storage = DatabaseORM::getDatabasePointer();
        Check(storage->select<PD>(IsDriveRow(DriveRow(1))).empty(), "the database is not new");
        Check(!m_OnDisk || std::filesystem::exists(file), file + " is not our database");

        Recorder recorder(*storage);
        for (int number = 1; number <= Drives; ++number)
        {
            const PD drive = DriveRow(number);
            storage->insert(SafeModel(drive));
            for (const int partition : {1, 2})
                storage->insert(SafeModel(PartitionRow(drive, partition)));
        }
        m_Contents = recorder.texts;
    }
    ~Setting()
    {
        storage.reset();
        if (m_OnDisk)
            std::filesystem::remove_all(m_Folder);
    }
    Setting(const Setting&) = delete;
    Setting& operator=(const Setting&) = delete;

    /// A database of the same schema, settings and rows.
    std::unique_ptr<Connection> Equal(const std::string& name) const
    {
        auto equal = std::make_unique<Connection>(File(name));
        for (const std::string& definition : storage->dao->query("SELECT sql FROM sqlite_master"))
            if (definition != RaidDataModels::unsetText &&
                definition.find("TABLE sqlite_") == std::string::npos)
                equal->Query(definition);
        for (const std::string& text : m_Contents)
            equal->Query(text);
        for (const std::string text :
             {"PRAGMA journal_mode", "PRAGMA synchronous", "PRAGMA foreign_keys",
              "PRAGMA locking_mode", "PRAGMA page_size", "PRAGMA wal_autocheckpoint",
              "SELECT type, name, sql FROM sqlite_master", allDrives,
              "SELECT * FROM raid_partition"})
            Check(IsSameCells(storage->dao->query(text), equal->Query(text)),
                  "the sides differ in " + text);
        return equal;
    }

    /// All drives of our database as others find them: a file is read through a connection of its
    /// own.
    Texts AllDrives() const
    {
        return m_OnDisk ? Connection(File("ours.db")).Query(allDrives)
                        : storage->dao->query(allDrives);
    }

    std::shared_ptr<storage_t> storage;

  private:
    std::string File(const std::string& name) const
    {
        return m_OnDisk ? (m_Folder / name).string() : ":memory:";
    }

    bool m_OnDisk;
    std::filesystem::path m_Folder;
    Texts m_Contents;
};

// ---- measuring ----------------------------------------------------------------------------------

/// One way to do the work.
struct Side
{
    std::string name;
    std::function<void(int)> pass;   ///< gets the number of the pass
    std::function<void()> tidy = {}; ///< after a round, outside the timing
    std::vector<double> times = {};  ///< microseconds a pass, one a round
};

double MedianOf(std::vector<double> values)
{
    const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
    std::nth_element(values.begin(), middle, values.end());
    return *middle;
}

/// Runs the sides in turn, a different one first in every round.
void Measure(benchmark::State& state, std::vector<Side>& sides, int passes)
{
    using Clock = std::chrono::steady_clock;
    int round = 0;
    for (auto _ : state)
    {
        double sum = 0;
        for (std::size_t i = 0; i < sides.size(); ++i)
        {
            Side& side = sides[(static_cast<std::size_t>(round) + i) % sides.size()];
            const Clock::time_point begin = Clock::now();
            for (int pass = round * passes; pass < (round + 1) * passes; ++pass)
                side.pass(pass);
            const std::chrono::duration<double> time = Clock::now() - begin;
            side.times.push_back(time.count() * 1e6 / passes);
            sum += time.count();
            if (side.tidy)
                side.tidy();
        }
        state.SetIterationTime(sum);
        ++round;
    }
    for (const Side& side : sides)
        state.counters[side.name + "_us"] = MedianOf(side.times);
}

/// A line of the table at the end.
struct Line
{
    std::string name;
    double ours = 0;
    double others = 0; ///< 0: none
    double ratio = 0;  ///< median of the rounds' ratios
    double sums = 0;   ///< ratio of the sums: what rarely happens, as a checkpoint, counts too
    std::string bound;
};

std::vector<Line> table;

void Compare(const std::string& name, const Side& ours, const Side& other, const char* bound)
{
    std::vector<double> ratios;
    double sums[2] = {};
    for (std::size_t i = 0; i < ours.times.size(); ++i)
    {
        ratios.push_back(ours.times[i] / other.times[i]);
        sums[0] += ours.times[i];
        sums[1] += other.times[i];
    }
    table.push_back({name + " / " + other.name, MedianOf(ours.times), MedianOf(other.times),
                     MedianOf(ratios), sums[0] / sums[1], bound});
}

void PrintTable()
{
    std::printf("\n%-42s %10s %10s %7s %8s  %s\n", "median of the rounds", "ours us", "others us",
                "ratio", "of sums", "bound");
    for (const Line& line : table)
        if (line.others > 0)
            std::printf("%-42s %10.2f %10.2f %7.2f %8.2f  %s\n", line.name.c_str(), line.ours,
                        line.others, line.ratio, line.sums, line.bound.c_str());
        else
            std::printf("%-42s %10.2f %10s %7s %8s  %s\n", line.name.c_str(), line.ours, "", "", "",
                        line.bound.c_str());
}

// ---- what is measured ---------------------------------------------------------------------------

int TemperatureOf(int pass)
{
    return FirstTemperature + pass % Temperatures;
}

/// A pass over the rows of a drive as the plug-in makes it.
class DrivePass
{
  public:
    explicit DrivePass(storage_t& storage) : m_Storage(storage) {}

    void Run(int pass)
    {
        const std::vector<PD> rows = m_Storage.select<PD>(IsDriveRow(m_Drive));
        Check(rows.size() == 1 && rows.front().temperature == m_Drive.temperature,
              "the row is not what the last pass wrote");
        m_Drive.temperature = TemperatureOf(pass);
        PD row = m_Drive;
        row.id = rows.front().id;
        m_Storage.update(SafeModel(std::move(row)));
        Check(m_Storage.selectColumn<Partition>(&Partition::id, IsPartitionOf(m_Drive)).size() == 2,
              "wrong count of partitions");
        const std::vector<Partition> partitions =
            m_Storage.select<Partition>(IsPartitionOf(m_Drive));
        Check(partitions.size() == 2 && partitions.back().partIndex == 2, "wrong partitions");
    }

  private:
    storage_t& m_Storage;
    PD m_Drive = DriveRow(MeasuredDrive);
};

void MeasureDrivePass(benchmark::State& state, bool onDisk)
{
    const Setting setting(onDisk);
    const auto strings = setting.Equal("strings.db");
    const auto empty = setting.Equal("empty.db");

    // Each temperature once: the texts for the others, which must get the same cells for them.
    DrivePass ours(*setting.storage);
    Texts texts[Temperatures];
    for (int pass = 0; pass < Temperatures; ++pass)
    {
        Recorder recorder(*setting.storage);
        ours.Run(pass);
        texts[pass] = recorder.texts;
        for (Connection* other : {strings.get(), empty.get()})
        {
            Texts cells;
            for (const std::string& text : recorder.texts)
                other->Run(text, KeepCells, &cells);
            Check(cells.size() == 69 + 2 + 2 * 16 && IsSameCells(recorder.cells, cells),
                  "the sides read different cells");
        }
    }

    Texts cells;
    std::vector<Side> sides = {
        {"ours", [&](int pass) { ours.Run(pass); }},
        {"sqlite3_exec",
         [&](int pass)
         {
             for (const std::string& text : texts[pass % Temperatures])
             {
                 cells.clear();
                 strings->Run(text, KeepCells, &cells);
                 benchmark::DoNotOptimize(cells.data());
             }
         }},
        {"exec, empty callback",
         [&](int pass)
         {
             for (const std::string& text : texts[pass % Temperatures])
                 empty->Run(text, KeepNothing, nullptr);
         }},
    };
    Measure(state, sides, Passes);

    const Texts rows = setting.AllDrives();
    Check(IsSameCells(rows, strings->Query(allDrives)) &&
              IsSameCells(rows, empty->Query(allDrives)),
          "the sides wrote other rows");
    Check(setting.storage->select<PD>(IsDriveRow(DriveRow(MeasuredDrive))).front().temperature ==
              TemperatureOf(Rounds * Passes - 1),
          "the row was not written");
    const std::string name = onDisk ? "drive pass, disk" : "drive pass, memory";
    Compare(name, sides[0], sides[1], onDisk ? "<= 0.6" : "<= 0.4");
    Compare(name, sides[0], sides[2], "-");
}

void MeasureText(benchmark::State& state)
{
    const std::shared_ptr<storage_t> storage = DatabaseORM::getDatabasePointer();
    TextTaker taker;
    storage->dao = &taker;
    PD row = DriveRow(MeasuredDrive);
    row.id = MeasuredDrive;
    std::vector<Side> sides = {
        {"text",
         [&](int pass)
         {
             row.temperature = TemperatureOf(pass);
             storage->update(row);
         }},
        {"SafeModel and text",
         [&](int pass)
         {
             row.temperature = TemperatureOf(pass);
             storage->update(SafeModel(row));
         }},
    };
    Measure(state, sides, 100);
    Check(taker.bytes > 1000, "no text of an update");
    table.push_back({"text of an update", MedianOf(sides[0].times), 0, 0, 0, "<= 5 us"});
    table.push_back({"SafeModel and text", MedianOf(sides[1].times), 0, 0, 0, "-"});
}

void MeasureInsertAndFetch(benchmark::State& state, bool onDisk)
{
    const Setting setting(onDisk);
    const auto other = setting.Equal("hand.db");
    HandWritten hand(*other, *setting.storage);

    std::vector<PD> rows;
    for (int i = 0; i < Passes; ++i)
        rows.push_back(DriveRow(FirstNewDrive + i));
    PD fetched[2];
    const std::string tidy = "DELETE FROM raid_pd WHERE " +
                             setting.storage->columnNameOf<PD>(&PD::deviceNumber) +
                             " >= " + std::to_string(FirstNewDrive);
    std::vector<Side> sides = {
        {"ours",
         [&](int pass)
         {
             const PD& row = rows[static_cast<std::size_t>(pass % Passes)];
             setting.storage->insert(SafeModel(row));
             std::vector<PD> found = setting.storage->select<PD>(IsDriveRow(row));
             Check(found.size() == 1, "the row was not inserted");
             fetched[0] = std::move(found.front());
         },
         [&] { setting.storage->dao->query(tidy); }},
        {"by hand",
         [&](int pass)
         {
             const PD& row = rows[static_cast<std::size_t>(pass % Passes)];
             hand.Insert(row);
             fetched[1] = hand.Fetch(row);
         },
         [&] { other->Query(tidy); }},
    };

    const Texts before = other->Query(allDrives);
    for (Side& side : sides)
        side.pass(0);
    const Texts after = other->Query(allDrives);
    Check(after.size() == before.size() + 69 && IsSameCells(setting.AllDrives(), after),
          "the sides insert different rows");
    for (Side& side : sides)
        side.tidy();
    Check(other->Query(allDrives) == before && IsSameCells(setting.AllDrives(), before),
          "the new row stays");

    Measure(state, sides, Passes);
    for (const PD& row : fetched)
        Check(IsSameRow(row, rows.back()) && row.id > Drives, "the row fetched is not the last");
    Compare(onDisk ? "insert and fetch, disk" : "insert and fetch, memory", sides[0], sides[1],
            "<= 2.5");
}

} // namespace

int main(int argc, char** argv)
{
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv))
        return 1;
    const auto add = [](const char* name, auto... measure)
    {
        benchmark::RegisterBenchmark(name, measure...)
            ->Iterations(Rounds)
            ->UseManualTime()
            ->Unit(benchmark::kMicrosecond);
    };
    add("text", MeasureText);
    add("drive_pass/memory", MeasureDrivePass, false);
    add("insert_and_fetch/memory", MeasureInsertAndFetch, false);
    add("drive_pass/disk", MeasureDrivePass, true);
    add("insert_and_fetch/disk", MeasureInsertAndFetch, true);
    benchmark::RunSpecifiedBenchmarks();
    PrintTable();
    return 0;
}
