// Records in, exact statements out, cells back to records.
#include "database/SafeText.h"
#include "database/Storage.h"

#include <gtest/gtest.h>

#include <cctype>
#include <clocale>
#include <cmath>
#include <exception>
#include <functional>
#include <limits>
#include <locale>
#include <map>
#include <new>
#include <tuple>

using namespace DatabaseORM;
using namespace RaidDataModels;

namespace
{

using Texts = std::vector<std::string>;

constexpr std::int32_t NoInt = std::numeric_limits<std::int32_t>::min();
constexpr std::uint64_t AllOnes = std::numeric_limits<std::uint64_t>::max();
constexpr double NoReal = 0x1p-126;
constexpr std::uint32_t NoId = std::numeric_limits<std::uint32_t>::max();

struct Item
{
    std::int32_t id = NoInt;
    std::int32_t count = NoInt;
    std::uint64_t size = AllOnes;
    std::string name = "NULL";
    Texts list = {};
    double real = NoReal;
};

/// A storage object with one table T, alias A, and its connection.
struct Items : storage_t, DatabaseWrapper::DatabaseDAO
{
    /// @param layout  a letter a column, + behind a generated key, ! for foreign keys; faults: no
    /// map (M), no table (T), no name of the text (N), refused (R), out of memory (O)
    explicit Items(const std::string& layout)
    {
        dao = this;
        map->aliasName = "A";
        table->tableName = "T";
        tables.push_back(table);
        modelMaps.push_back(map);
        const std::map<char, std::function<void()>> add = {
            {'!', [&] { table->hasForeignKeys = true; }},
            {'+', [&] { table->columns.back()->autoIncrement = true; }},
            {'i', [&] { Add(&Item::id, KindCode::Int, "ID"); }},
            {'c', [&] { Add(&Item::count, KindCode::Int, "count"); }},
            {'s', [&] { Add(&Item::size, KindCode::Unsigned, "size"); }},
            {'n', [&] { Add(&Item::name, KindCode::Text, "name"); }},
            {'l', [&] { Add(&Item::list, KindCode::List, "list"); }},
            {'r', [&] { Add(&Item::real, KindCode::Real, "real"); }},
            {'M', [&] { modelMaps.clear(); }},
            {'T', [&] { tables.clear(); }},
            {'N', [&] { map->textFields.back().columnName.clear(); }},
            {'R', [&] { failure = std::make_exception_ptr(DBEXCEPTION::DatabaseException("no")); }},
            {'O', [&] { failure = std::make_exception_ptr(std::bad_alloc()); }}};
        for (const char letter : layout)
            add.at(letter)();
    }

    template <class Value> void Add(Value Item::*member, KindCode kind, const char* name)
    {
        map->Entries(member).push_back({member, name, map->fieldCount++});
        table->columns.emplace_back(new column_t{kind, false, name, {}, 0, ""});
    }

    Texts query(std::string statement) override
    {
        sent += (sent.empty() ? "" : "|") + statement;
        if (failure)
            std::rethrow_exception(failure);
        return cells;
    }

    std::string sent; ///< statements, "|" between them
    Texts cells;
    std::exception_ptr failure;
    std::shared_ptr<dbModelFieldsMap<Item>> map = std::make_shared<dbModelFieldsMap<Item>>();
    std::shared_ptr<table_t<Item>> table = std::make_shared<table_t<Item>>();
};

using Step = std::function<void(Items&)>;
const Item Sample{7, 1003, 9000, "x", {"a", "b"}, 1.5};
const auto IsX = Equal(&Item::name, "x");
const auto IsBoth = And{Equal(&Item::count, 1003), IsX};
const Step Insert = [](Items& items) { items.insert(Sample); };
const auto UpdateOf = [](Item item) -> Step { return [item](Items& i) { i.update(item); }; };
const Step Update = UpdateOf(Sample);
const Step Select = [](Items& items) { items.select<Item>(IsBoth); };
const Step Column = [](Items& items) { items.selectColumn<Item>(&Item::id, IsX); };
const Step Remove = [](Items& items) { items.remove<Item>(IsBoth); };
const Step MaxId = [](Items& items) { items.maxId<Item>(&Item::id); };
const Step Name = [](Items& items) { items.columnNameOf<Item>(&Item::count); };
const Step Alias = [](Items& items) { items.aliasOf<Item>(); };

/// The statements of a step, then the exception that ended it, "!" before one not of ours.
std::string Sent(const std::string& layout, const Step& run)
{
    Items items(layout);
    try
    {
        run(items);
    }
    catch (const std::exception& exception)
    {
        const bool isOurs = dynamic_cast<const DBEXCEPTION::DatabaseException*>(&exception);
        items.sent += (isOurs ? "|" : "|!") + std::string(exception.what());
    }
    EXPECT_TRUE(items.qualifyColumns);
    return items.sent;
}

/// As some hosts set it: 1.234,5.
class Punctuation : public std::numpunct<char>
{
    char do_decimal_point() const override { return ','; }
    char do_thousands_sep() const override { return '.'; }
    std::string do_grouping() const override { return "\3"; }
};

/// The tests run in a host with a locale of its own.
struct Statement : testing::Test
{
    Statement() { std::setlocale(LC_ALL, "de_DE.UTF-8"); } // where the system has it
    ~Statement() override { std::locale::global(before); }
    const std::locale before = std::locale::global(std::locale({}, new Punctuation));
};

} // namespace

TEST_F(Statement, Texts)
{
    const std::string thrown = "|Storage query exception thrown! ";
    const std::tuple<const char*, Step, std::string> cases[] = {
        {"!i+csnlr", Insert,
         "SELECT MAX(ID) FROM T|PRAGMA foreign_keys = ON; INSERT INTO T (count, size, name, list, "
         R"(real) VALUES(1003, 9000, "x", "a?b", 1.500000);)"},
        {"i+ns", Insert,
         R"(SELECT MAX(ID) FROM T|SELECT MAX(size) FROM T|INSERT INTO T (name) VALUES("x");)"},
        {"cn", Select, "SELECT * FROM T A  WHERE ( A.count = '1003') AND ( A.name = 'x') "},
        {"!ni", Update, R"(PRAGMA foreign_keys = ON; UPDATE T SET name="x", ID=7 WHERE ID = -1;)"},
        {"c", UpdateOf({.count = NoInt}), "UPDATE T SET count=NULL WHERE ID = -1;"},
        {"c", UpdateOf({.count = NoInt + 1}),
         "UPDATE T SET count=-2147483647 WHERE ID = -2147483647;"},
        {"s", UpdateOf({.size = AllOnes}), "UPDATE T SET size=NULL WHERE ID = -1;"},
        {"s", UpdateOf({.size = AllOnes - 1}),
         "UPDATE T SET size=18446744073709551614 WHERE ID = 18446744073709551614;"},
        {"n", UpdateOf({.name = "NULL"}), "UPDATE T SET name=NULL WHERE ID = -1;"},
        {"n", UpdateOf({.name = "a\"\"b'"}), R"(UPDATE T SET name="a""b'" WHERE ID = -1;)"},
        {"l", UpdateOf({.list = {"NULL"}}), "UPDATE T SET list=NULL WHERE ID = -1;"},
        {"l", UpdateOf({.list = {"NULL", ""}}), R"(UPDATE T SET list="NULL?" WHERE ID = -1;)"},
        {"l", UpdateOf({.list = {"a", "", "b"}}), R"(UPDATE T SET list="a??b" WHERE ID = -1;)"},
        {"r", UpdateOf({.real = 1e22}),
         "UPDATE T SET real=10000000000000000000000.000000 WHERE ID = -1;"},
        {"r", UpdateOf({.real = 1234567.25}), "UPDATE T SET real=1234567.250000 WHERE ID = -1;"},
        {"r", UpdateOf({.real = 1e-6}), "UPDATE T SET real=0.000001 WHERE ID = -1;"},
        {"r", UpdateOf({.real = -4e-7}), "UPDATE T SET real=-0.000000 WHERE ID = -1;"},
        {"r", UpdateOf({.real = 4.999e-7}), "UPDATE T SET real=NULL WHERE ID = -1;"},
        {"r", UpdateOf({.real = -HUGE_VAL}), "UPDATE T SET real=NULL WHERE ID = -1;"},
        {"r", UpdateOf({.real = std::nan("")}), "UPDATE T SET real=NULL WHERE ID = -1;"},
        {"iM", Insert, thrown + "No such model in map exist!"},
        {"iM", Alias, thrown + "No such model map exist."},
        {"in", Name, "|Empty colName exception!"},
        {"cnN", Remove, "|Empty colName exception!"},
        {"inRT", Insert, "INSERT INTO  VALUES(7, \"x\");" + thrown + "(no)"},
        {"inRT", Update, "UPDATE  SET ID=7, name=\"x\" WHERE ID = 7;|no"},
        {"cnO", Remove,
         "DELETE FROM T  WHERE ( count = '1003') AND ( name = 'x') |!std::bad_alloc"},
    };
    for (const auto& [layout, run, sent] : cases)
        EXPECT_EQ(Sent(layout, run), sent);
    for (const Step& run : {Update, Select, Column, Remove, MaxId, Name})
        EXPECT_EQ(Sent("cnM", run), thrown + "No such model in map exist.");
    for (const Step& run : {Select, Column, Remove, MaxId})
        EXPECT_EQ(Sent("icnT", run), "");
}

TEST_F(Statement, CellsBecomeRecordsAndNewIds)
{
    const struct
    {
        std::string cell;
        std::int32_t count;
        std::uint64_t size;
        Texts list;
        double real;
        std::uint32_t largest, unsignedLargest;
    } cases[] = {
        {"NULL", NoInt, AllOnes, {"NULL"}, NoReal, 0, 0},
        {"", NoInt, AllOnes, {}, NoReal, 0, 0},
        {"?a?b??c", NoInt, AllOnes, {"a", "b", "c"}, NoReal, 0, 0},
        {" +12x", 12, 12, {" +12x"}, 12, 12, 12},
        {"-7", -7, AllOnes - 6, {"-7"}, -7, 0xFFFFFFF9, 0xFFFFFFF9},
        {"-1", -1, AllOnes, {"-1"}, -1, 0xFFFFFFFF, 0xFFFFFFFF},
        {"4294967301", NoInt, 4294967301, {"4294967301"}, 4294967301, 0x7FFFFFFF, 5},
        {"9223372036854775808", NoInt, AllOnes, {"9223372036854775808"}, 0x1p63, 0x7FFFFFFF, 0},
        {"1.5e3", 1, 1, {"1.5e3"}, 1500, 1, 1},
        {"1e400", 1, 1, {"1e400"}, NoReal, 1, 1},
        {"\n\v7", 7, 7, {"\n\v7"}, 7, 7, 7},
        {"+-5", NoInt, AllOnes, {"+-5"}, NoReal, 0, 0},
        {"-4294967301",
         NoInt,
         AllOnes - 4294967300,
         {"-4294967301"},
         -4294967301,
         0x80000000,
         0xFFFFFFFB},
        {"1e", 1, 1, {"1e"}, 1, 1, 1},
        {"99999999999999999999", NoInt, AllOnes, {"99999999999999999999"}, 1e20, 0x7FFFFFFF, NoId},
    };
    for (const auto& c : cases)
    {
        Items items("rlnsci"), key("i+n"), unsignedKey("ns+");
        items.cells = {c.cell, c.cell, c.cell, c.cell, c.cell, "8"};
        const Item row = items.select<Item>(IsX).at(0);
        EXPECT_EQ(std::tie(row.name, row.count, row.size, row.list, row.real),
                  std::tie(c.cell, c.count, c.size, c.list, c.real));
        EXPECT_EQ(row.id, 8); // whatever stands before it
        EXPECT_EQ(items.maxId<Item>(&Item::count), c.largest) << c.cell;
        EXPECT_EQ(items.maxId<Item>(&Item::size), c.unsignedLargest) << c.cell;
        EXPECT_EQ(items.insert(Sample), 0U);
        key.cells = unsignedKey.cells = {c.cell};
        const auto next = [](std::uint32_t last) { return last == NoId ? 1 : last + 1; };
        EXPECT_EQ(key.insert(Sample), next(c.largest));
        EXPECT_EQ(unsignedKey.insert(Sample), next(c.unsignedLargest));
    }
    Items items("i+n");
    EXPECT_EQ(items.insert(Sample), 1U); // into an empty table
    items.cells = {"1", "a", "2", "b", "3"};
    const std::vector<Item> rows = items.select<Item>(IsX);
    ASSERT_EQ(rows.size(), 2U); // the row that breaks off is dropped
    EXPECT_EQ(rows[1].name, "b");
    EXPECT_EQ(items.selectColumn<Item>(&Item::id, IsX), (std::vector<int>{1, 0, 2, 0, 3}));
}

TEST(SafeText, WhatARowKeeps)
{
    EXPECT_EQ(ValueText(std::string("a\0\"'b", 5)), "a \"\"'b");
    EXPECT_EQ(ConditionText(std::string("a\0\"'b", 5)), "a \"''b");
    EXPECT_EQ(KeptNumber(AllOnes >> 1), AllOnes >> 1);
    EXPECT_EQ(KeptNumber((AllOnes >> 1) + 1), AllOnes);
}
