// Rows of drives, and the sides that keep them: our database, and SQLite doing the same work.
#pragma once

#include "contracts/zelStore.h"
#include "database/Models.h"
#include "database/SafeText.h"
#include "database/Storage.h"

#include <benchmark/benchmark.h>
#include <sqlite3.h>

#include <stdlib.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <memory>
#include <string>
#include <string_view>
#include <type_traits>
#include <vector>

namespace RowSides
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

constexpr int Drives = 8; ///< in the database, each with two partitions
constexpr int FirstTemperature = 20;
constexpr const char* allDrives = "SELECT * FROM raid_pd";

[[noreturn]] inline void Fail(const std::string& what)
{
    std::fprintf(stderr, "row_bench: %s\n", what.c_str());
    std::exit(1);
}

inline void Check(bool holds, std::string_view what)
{
    if (!holds)
        Fail(std::string(what));
}

// ---- rows ---------------------------------------------------------------------------------------

/// As filled as that of a solid-state drive with all its readings.
inline PD DriveRow(int number)
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

inline Partition PartitionRow(const PD& drive, int number)
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

inline auto IsDriveRow(const PD& drive)
{
    return And{And{Equal(&PD::globalAdapterNumber, drive.globalAdapterNumber),
                   Equal(&PD::hostName, drive.hostName)},
               Equal(&PD::deviceNumber, drive.deviceNumber)};
}

inline auto IsPartitionOf(const PD& drive)
{
    return Equal(&Partition::driveUniqueId, ConditionText(drive.uniqueId));
}

/// Whether two rows are equal in all fields but the id.
inline bool IsSameRow(const PD& a, const PD& b)
{
    bool same = true;
    RaidDataModels::ModelFields<PD>::Walk(
        [&](auto, auto member, const FieldRow& field)
        { same = same && (field.role == FieldRole::Id || a.*member == b.*member); });
    return same;
}

/// Whether the sides read the same. They write a whole real in two ways: as 97, and as 97.0.
inline bool IsSameCells(const Texts& ours, const Texts& others)
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

inline int KeepCells(void* cells, int count, char** values, char**)
{
    for (int i = 0; i < count; ++i)
        static_cast<Texts*>(cells)->emplace_back(values[i] ? values[i] : RaidDataModels::unsetText);
    return 0;
}

inline int KeepNothing(void*, int, char** values, char**)
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
        // Both write the log back at 1000 pages: SQLite by itself, zelStore by a hook of its own.
        for (const std::string text :
             {"PRAGMA journal_mode", "PRAGMA synchronous", "PRAGMA foreign_keys",
              "PRAGMA locking_mode", "PRAGMA page_size",
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

} // namespace RowSides
