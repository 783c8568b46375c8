// What is told when, over days that no test waits for.
#include "host/AlarmBook.h"

#include <gtest/gtest.h>

namespace
{

using namespace Host;

constexpr std::uint64_t Minute = 60000; // ms
constexpr std::uint64_t Hour = 60 * Minute;
constexpr std::uint64_t Day = 24 * Hour;
constexpr std::uint64_t Now = 20000 * Day;

KnownDrive Well()
{
    KnownDrive drive;
    drive.label = "disk0";
    drive.model = "M";
    drive.serial = "S";
    return drive;
}

KnownDrive Failing(const std::string& cause)
{
    KnownDrive drive = Well();
    drive.standing = Standing::Trouble;
    drive.causes = drive.unended = {cause};
    return drive;
}

/// It is there, and tells nothing of itself.
KnownDrive Nameless()
{
    KnownDrive drive;
    drive.label = "disk0";
    drive.standing = Standing::NotJudged;
    return drive;
}

/// A book about all drives, and what it tells.
struct Book
{
    explicit Book(std::uint32_t remindMinutes)
        : book(60 * remindMinutes, [](const KnownDrive&) { return true; })
    {
    }

    /// Looks, and runs what is due. @return "started trouble", ...; empty for nothing
    std::string Look(const std::vector<KnownDrive>& drives, std::uint64_t now, bool succeeds = true)
    {
        static const char* const kinds[] = {"started ", "reminder ", "ended "};
        book.Look(drives);
        std::string told;
        for (const Alarm& alarm : book.TakeDue(now))
        {
            told += kinds[static_cast<int>(alarm.kind)] + std::string(alarm.state);
            book.Finish(alarm, succeeds, now);
        }
        return told;
    }

    AlarmBook book;
};

} // namespace

TEST(AlarmBook, TellsTroubleOnceAReminderAfterItsTimeAndTheEnd)
{
    Book book(10);
    EXPECT_EQ(book.Look({Failing("wear")}, Now), "started trouble");
    EXPECT_EQ(book.Look({Failing("wear")}, Now + 10 * Minute - 1), "");
    EXPECT_EQ(book.Look({Failing("wear")}, Now + 10 * Minute, false), "reminder trouble");
    EXPECT_EQ(book.Look({Failing("reserve")}, Now + 11 * Minute), "started trouble");
    EXPECT_EQ(book.Look({Nameless()}, Now + 12 * Minute), "") << "nobody can tell that it is well";
    EXPECT_EQ(book.Look({Failing("reserve")}, Now + 21 * Minute, false), "reminder trouble");
    EXPECT_EQ(book.Look({Well()}, Now + 22 * Minute), "ended recovered")
        << "of what was told, whether or not a reminder failed";
    EXPECT_EQ(book.Look({Failing("reserve")}, Now + 23 * Minute), "") << "it has just been told";
    EXPECT_EQ(book.Look({Failing("reserve")}, Now + 31 * Minute), "started trouble");
}

TEST(AlarmBook, TakesAClockThatWasSetBackForOne)
{
    for (const auto& [back, told] : {std::pair(Hour, ""),
                                     {Day, ""},
                                     {Day + 1, "started trouble"},
                                     {Day * 30, "started trouble"}})
    {
        Book book(0);
        EXPECT_EQ(book.Look({Failing("wear")}, Now), "started trouble");
        EXPECT_EQ(book.Look({Well()}, Now), "ended recovered");
        EXPECT_EQ(book.Look({Failing("wear")}, Now - back), told) << back;
    }
}

TEST(AlarmBook, WaitsForNoDriveThatWasGoneBefore)
{
    Book first(10);
    EXPECT_EQ(first.Look({Failing("wear")}, Now), "started trouble");
    EXPECT_EQ(first.Look({}, Now), "started gone");
    EXPECT_EQ(first.Look({}, Now + 10 * Minute), "reminder gone");
    Book second(10);
    EXPECT_TRUE(second.book.Load(first.book.Save()));
    EXPECT_EQ(second.Look({}, Now + 15 * Minute), "");
    EXPECT_EQ(second.Look({}, Now + 30 * Minute), "");
    EXPECT_EQ(second.Look({Failing("wear")}, Now + 31 * Minute), "started trouble");
}
