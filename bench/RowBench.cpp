// What the rows of a drive cost, from record to disk and back, each beside SQLite doing the same
// work. The sides take turns in one run, so that what else the machine does hits all of them alike.
#include "bench/RowSides.h"

#include <chrono>
#include <functional>

namespace
{

using namespace RowSides;

constexpr int Rounds = 1001;
/// Of each side in a round. Few: a long turn would be interrupted in every round by what else runs,
/// a short one in few. Not one: the other sides have emptied the caches for it.
constexpr int Passes = 5;
constexpr int MeasuredDrive = 5;
constexpr int Temperatures = 16; ///< that follow each other from pass to pass
constexpr int FirstNewDrive = 1000;

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

int ChangedTemperature(int pass)
{
    return FirstTemperature + pass % Temperatures;
}

int SameTemperature(int)
{
    return FirstTemperature - 1;
}

/// What a line of passes over the rows of a drive differs in.
struct PassLine
{
    const char* name;
    bool onDisk;
    int (*temperature)(int); ///< of a pass
    const char* bound;
};

/// A pass over the rows of a drive as the plug-in makes it.
class DrivePass
{
  public:
    DrivePass(storage_t& storage, int (*temperature)(int))
        : m_Storage(storage), m_Temperature(temperature)
    {
    }

    void Run(int pass)
    {
        const std::vector<PD> rows = m_Storage.select<PD>(IsDriveRow(m_Drive));
        Check(rows.size() == 1 && rows.front().temperature == m_Drive.temperature,
              "the row is not what the last pass wrote");
        m_Drive.temperature = m_Temperature(pass);
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
    int (*m_Temperature)(int); ///< of a pass
    PD m_Drive = DriveRow(MeasuredDrive);
};

void MeasureDrivePass(benchmark::State& state, const PassLine& line)
{
    const Setting setting(line.onDisk);
    const auto strings = setting.Equal("strings.db");
    const auto empty = setting.Equal("empty.db");

    // Each temperature once: the texts for the others, which must get the same cells for them.
    DrivePass ours(*setting.storage, line.temperature);
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
              line.temperature(Rounds * Passes - 1),
          "the row was not written");
    Compare(line.name, sides[0], sides[1], line.bound);
    Compare(line.name, sides[0], sides[2], "-");
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
             row.temperature = ChangedTemperature(pass);
             storage->update(row);
         }},
        {"SafeModel and text",
         [&](int pass)
         {
             row.temperature = ChangedTemperature(pass);
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
    const PassLine lines[] = {
        {"drive pass, memory", false, ChangedTemperature, "<= 0.19"},
        {"idle drive pass, memory", false, SameTemperature, "<= 0.15"},
        {"drive pass, disk", true, ChangedTemperature, "<= 0.25"},
        {"idle drive pass, disk", true, SameTemperature, "<= 0.18"},
    };
    for (const PassLine& line : lines)
        add(line.name, MeasureDrivePass, line);
    add("insert_and_fetch/memory", MeasureInsertAndFetch, false);
    add("insert_and_fetch/disk", MeasureInsertAndFetch, true);
    benchmark::RunSpecifiedBenchmarks();
    PrintTable();
    return 0;
}
