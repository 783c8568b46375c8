#include "contracts/zelPlug/ConfigFile.h"
#include "contracts/zelPlug/Settings.h"
#include "tests/support/TestFolder.h"

#include <algorithm>
#include <csignal>
#include <gtest/gtest.h>
#include <random>
#include <tuple>
#if defined(_WIN32)
#include <windows.h>
#else
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>
#endif

namespace
{

using namespace std::string_literals;
namespace fs = std::filesystem;

class Settings : public testing::Test
{
  protected:
    static int Write(const fs::path& file, const std::string& key, const std::string& value)
    {
        PI::CConfigFile config;
        config.SetFileName(file.string());
        return config.WriteKeyValue(key, value, -1, -1);
    }
    /// The value, or "none".
    static std::string Read(const fs::path& file, const std::string& key)
    {
        PI::CConfigFile config;
        config.SetFileName(file.string());
        std::string value = "none";
        const int result = config.ReadKeyValue(key, value, -1, -1);
        EXPECT_EQ(result, value == "none" ? 20014 : 0);
        return value;
    }
    void SetBytes(const std::string& bytes) { m_Files.Write("tarnis.ini", bytes); }
    std::string Bytes() const { return m_Files.Read("tarnis.ini"); }
    std::ptrdiff_t FilesInFolder() const
    {
        return std::distance(fs::directory_iterator(m_Folder), fs::directory_iterator());
    }

    TestFolder m_Files;
    fs::path m_Folder = m_Files.Path();
    fs::path m_File = m_Folder / "tarnis.ini";
};

const std::string bom = "\xEF\xBB\xBF";

TEST_F(Settings, AreReadByTheRules)
{
    const std::pair<std::string, std::string> cases[] = {
        {bom + "Key=30\r\n", "30"},
        {" \tkEY \t= a=b ", " a=b "},
        {"Key=\nKey=2\n", ""},
        {"Key=1\r", "1\r"},
        {"#Key=1\n;Key=2\n[Key=3\n# Key=4\nKey=5", "5"},
        {"Key\n=1\nKey2=2\nMyKey=3\nKe y=4\n", "none"},
        {"\0\xFF\n\0Key=1\nKey=2\0\xFF\n"s, "2\0\xFF"s},
        {std::string(10'000'000, 'x') + "\nKey=far\n", "far"},
    };
    for (const auto& [bytes, value] : cases)
    {
        SetBytes(bytes);
        EXPECT_EQ(Read(m_File, "Key"), value) << bytes.substr(0, 100);
    }
    SetBytes("Key=1\n");
    fs::resize_file(m_File, 64 * 1024 * 1024 + 1);
    EXPECT_EQ(Read(m_File, "Key"), "none");
    EXPECT_EQ(PI::CConfigFile::GetUnreadableFiles(),
              std::vector{m_File.string() + ": longer than 64 MiB; defaults apply; shorten it"});
    SetBytes("");
    EXPECT_EQ(Read(m_File, "Key"), "none");
    EXPECT_TRUE(PI::CConfigFile::GetUnreadableFiles().empty());
}

TEST(SettingValues, OfAnyText)
{
    const std::tuple<const char*, std::uint32_t, std::uint32_t> numbers[] = {
        {"40", 40, 40},    {" +7", 7, 7},     {"7 ", 30, 95},          {"", 30, 95},
        {"0x10", 30, 95},  {"256", 255, 256}, {"-1", 255, 4294967295}, {"4294967296", 30, 95},
        {"1,000", 30, 95}, {"0", 2, 0}};
    for (const auto& [text, interval, threshold] : numbers)
    {
        EXPECT_EQ(PI::NumberInEffect(Vocabulary::pollInterval, text), interval) << text;
        EXPECT_EQ(PI::NumberInEffect(Vocabulary::wearLevelThreshold, text), threshold) << text;
    }
    const std::tuple<const char*, std::uint32_t, std::uint32_t, std::uint32_t> times[] = {
        {"10:45", 11, 10, 45}, {"7", 11, 7, 7},      {"12:", 11, 12, 0}, {":30", 11, 11, 30},
        {"25:70", 11, 23, 59}, {"x:15", 23, 23, 15}, {"", 11, 11, 0},    {"x", 23, 23, 0},
        {"9:5:7", 11, 9, 0},   {"45", 11, 23, 45},   {"9 :5", 11, 11, 5}};
    for (const auto& [text, presetHour, hour, minute] : times)
    {
        const PI::CTimeOfDay time = PI::TimeInEffect({"", "", presetHour}, text);
        EXPECT_EQ(std::tuple(time.hour, time.minute), std::tuple(hour, minute)) << text;
    }
}

TEST_F(Settings, AreWrittenAndAllElseKept)
{
    const std::string large(5'000'000, '\n');
    const std::pair<std::string, std::string> cases[] = {
        {bom, bom + "Key=42\n"},
        {"a=1", "a=1\nKey=42\n"},
        {"a=1\r\nb=2\n", "a=1\r\nb=2\nKey=42\r\n"},
        {"a=1\r\nKEY =7\r\nb=2", "a=1\r\nKEY =42\r\nb=2"},
        {bom + "key=123456\n\n\nKey=2\n", bom + "key=42\n\n\nKey=2\n"},
        {"#Key=1\n\0\0=\xFF\n[s]\n"s, "#Key=1\n\0\0=\xFF\n[s]\nKey=42\n"s},
        {large + "Key=1\r\n" + large, large + "Key=42\r\n" + large},
    };
    for (const auto& [before, after] : cases)
    {
        SetBytes(before);
        EXPECT_EQ(Write(m_File, " Key ", "42"), 0);
        EXPECT_TRUE(Bytes() == after) << before.substr(0, 100);
    }
    // Whatever the file holds, another key is read as before.
    std::mt19937 random(1);
    const std::string pieces[] = {"a", "b", "=", "\r", "\n", " ", "\0"s, "#", bom, "\r\n", "b="};
    for (int round = 0; round < 150; ++round)
    {
        std::string bytes;
        for (auto left = random() % 14; left > 0; --left)
            bytes += pieces[random() % std::size(pieces)];
        SetBytes(bytes);
        const std::string other = Read(m_File, "B");
        ASSERT_EQ(Write(m_File, "a", " v "), 0);
        ASSERT_EQ(Read(m_File, "a"), " v ") << testing::PrintToString(bytes);
        ASSERT_EQ(Read(m_File, "B"), other) << testing::PrintToString(bytes);
    }
    EXPECT_EQ(FilesInFolder(), 1);
}

TEST_F(Settings, ThatNoLineCanHoldAreRefused)
{
    SetBytes("=1\n#a=1\n");
    for (const std::string& key : {" "s, "a=b"s, "a\n"s, "\ra"s, "a\0b"s, "#a"s, " [a"s, bom + "a"})
    {
        EXPECT_EQ(Write(m_File, key, "1"), 20006) << key;
        EXPECT_EQ(Read(m_File, key), "none") << key;
    }
    for (const std::string& value : {"1\n"s, "\r"s, "\0"s})
        EXPECT_EQ(Write(m_File, "Key", value), 20006);
    EXPECT_EQ(Bytes(), "=1\n#a=1\n");
}

#if defined(_WIN32)

TEST_F(Settings, KeepTheirAttributesAndRights)
{
    const auto rights = [this]
    {
        std::string bytes(4096, '\0');
        DWORD size = 0;
        EXPECT_NE(
            GetFileSecurityW(m_File.c_str(), DACL_SECURITY_INFORMATION, bytes.data(), 4096, &size),
            0);
        return bytes;
    };
    SetBytes("Key=1\n");
    EXPECT_NE(SetFileAttributesW(m_File.c_str(), FILE_ATTRIBUTE_HIDDEN), 0);
    const std::string before = rights();
    EXPECT_EQ(Write(m_File, "Key", "2"), 0);
    EXPECT_EQ(Bytes(), "Key=2\n");
    EXPECT_EQ(GetFileAttributesW(m_File.c_str()) & FILE_ATTRIBUTE_HIDDEN, FILE_ATTRIBUTE_HIDDEN);
    EXPECT_EQ(rights(), before);

    // Held by somebody who lets nobody replace it.
    const HANDLE holder =
        CreateFileW(m_File.c_str(), GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr,
                    OPEN_EXISTING, 0, nullptr);
    EXPECT_NE(Write(m_File, "Key", "3"), 0);
    CloseHandle(holder);
    EXPECT_EQ(Bytes(), "Key=2\n");
    EXPECT_EQ(FilesInFolder(), 1);
}

#endif

#if !defined(_WIN32) // files, places and signals that Windows does not have

TEST_F(Settings, KeepTheirPlaceAndPermissions)
{
    const fs::path link = m_Folder / "link";
    const fs::path chain = m_Folder / "chain";
    fs::create_symlink("deep/er/real.ini", link); // nothing there yet
    fs::create_symlink(link, chain);
    EXPECT_EQ(Write(chain, "Key", "1"), 0);
    EXPECT_TRUE(fs::is_symlink(link) && fs::is_symlink(chain));
    EXPECT_EQ(Read(m_Folder / "deep/er/real.ini", "Key"), "1");
    for (const mode_t mode : {0600U, 0664U, 04751U})
    {
        SetBytes("");
        chmod(m_File.c_str(), mode);
        EXPECT_EQ(Write(m_File, "Key", "2"), 0);
        struct stat status = {};
        stat(m_File.c_str(), &status);
        EXPECT_EQ(status.st_mode & 07777, mode);
    }
}

TEST_F(Settings, FollowNoLinksThatOthersMayHaveMade)
{
    SetBytes("Key=1\n");
    const fs::path open = m_Folder / "open";
    for (const fs::path& folder : {open, open / "mine"})
        fs::create_directory(folder);
    fs::create_symlink(m_File, open / "file");
    fs::create_symlink(m_File, open / "mine/file");
    fs::create_symlink(m_Folder, open / "folder");
    fs::create_symlink(open / "file", m_Folder / "way");
    const std::pair<mode_t, bool> rights[] = {{0755, true}, {0777, false}, {01777, false}};
    for (const auto& [mode, isFollowed] : rights)
    {
        chmod(open.c_str(), mode);
        for (const fs::path& place :
             {open / "file", open / "folder/tarnis.ini", open / "folder/new.ini", m_Folder / "way"})
        {
            EXPECT_EQ(Write(place, "Key", "2"), isFollowed ? 0 : 20018) << place << mode;
            EXPECT_EQ(Read(place, "Key"), isFollowed ? "2" : "none") << place << mode;
        }
        EXPECT_EQ(Bytes(), isFollowed ? "Key=2\n" : "Key=1\n");
        EXPECT_EQ(Read(open / "mine/file", "Key"), isFollowed ? "2" : "1") << mode;
        EXPECT_EQ(fs::remove(m_Folder / "new.ini"), isFollowed);
        SetBytes("Key=1\n");
    }
}

TEST_F(Settings, HaveTheirModesUnderAnyUmask)
{
    const gid_t group = geteuid() == 0 ? 1 : getegid();
    ASSERT_EQ(chown(m_Folder.c_str(), static_cast<uid_t>(-1), group), 0);
    for (const mode_t mask : {0000U, 0022U, 0077U})
    {
        const mode_t before = umask(mask);
        const std::string name = "new" + std::to_string(mask);
        EXPECT_EQ(Write(m_Folder / name / "deep/tarnis.ini", "Key", "1"), 0);
        umask(before);
        for (const auto& [place, mode] :
             {std::pair{name, 0750U}, {name + "/deep", 0750U}, {name + "/deep/tarnis.ini", 0640U}})
        {
            struct stat status = {};
            stat((m_Folder / place).c_str(), &status);
            EXPECT_EQ(status.st_mode & 07777, mode) << place;
            EXPECT_EQ(status.st_gid, group) << place;
        }
    }
}

TEST_F(Settings, InPlacesThatAreNoFilesGiveErrors)
{
    const fs::path pipe = m_Folder / "pipe";
    const fs::path loop = m_Folder / "loop";
    ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);
    fs::create_symlink("loop", loop);
    SetBytes("Key=1\n");
    for (const fs::path& place :
         {pipe, loop, m_Folder, m_File / "below", fs::path("/dev/zero"), fs::path(), fs::path("/")})
    {
        EXPECT_EQ(Write(place, "Key", "2"), 20018) << place;
        EXPECT_EQ(Read(place, "Key"), "none") << place;
    }
    const std::string noFile = "not a regular file; defaults apply; put a text file in its place";
    const std::string another =
        "; defaults apply; repair that, or name another folder in TARNIS_CONFIG_DIR";
    const std::pair<fs::path, std::string> reasons[] = {
        {"/dev/zero", noFile},
        {m_Folder, noFile},
        {pipe, noFile},
        {loop, "a link on its way is not followed, because others may write to the folder of the "
               "link or it has no end; defaults apply; name the file's own place"},
        {m_File / "below", "cannot be read (Not a directory)" + another}};
    const std::vector<std::string> lines = PI::CConfigFile::GetUnreadableFiles();
    for (const auto& [place, reason] : reasons)
        EXPECT_EQ(std::count(lines.begin(), lines.end(), place.string() + ": " + reason), 1)
            << place;
    // One that can be read, or is not there, is none of them any more.
    fs::remove(loop);
    fs::remove(pipe);
    SetBytes("Key=1\n");
    fs::rename(m_File, pipe);
    for (const fs::path& place : {pipe, loop, m_File / "below"})
        Read(place, "Key");
    EXPECT_EQ(PI::CConfigFile::GetUnreadableFiles().size(), lines.size() - 3);
    fs::rename(pipe, m_File);
    // A disk that is full in the middle of the new file.
    rlimit limit{3, RLIM_INFINITY};
    std::signal(SIGXFSZ, SIG_IGN);
    setrlimit(RLIMIT_FSIZE, &limit);
    EXPECT_EQ(Write(m_File, "Key", "2"), 20018);
    limit.rlim_cur = RLIM_INFINITY;
    setrlimit(RLIMIT_FSIZE, &limit);
    EXPECT_EQ(Bytes(), "Key=1\n");
    EXPECT_EQ(FilesInFolder(), 1) << "an unfinished file was left";
}

TEST_F(Settings, WithABareNameAreLookedForInTheirFolder)
{
    if (fs::exists("/etc/tarnis"))
        GTEST_SKIP() << "skipped: this machine has settings of its own";
    for (const char* name : {"TARNIS_CONFIG_DIR", "XDG_CONFIG_HOME", "HOME"})
        setenv(name, (m_Folder / name).c_str(), 1);
    const std::pair<const char*, const char*> cases[] = {
        {"TARNIS_CONFIG_DIR", ""}, {"XDG_CONFIG_HOME", "tarnis"}, {"HOME", ".config/tarnis"}};
    for (const auto& [name, folder] : cases)
    {
        EXPECT_EQ(Write("CustomOpts.ini", "Key", "1"), 0);
        EXPECT_EQ(Read(m_Folder / name / folder / "CustomOpts.ini", "Key"), "1");
        setenv(name, "", 1);
    }
    EXPECT_EQ(Write("CustomOpts.ini", "Key", "1"), 20018);
    EXPECT_EQ(Read("CustomOpts.ini", "Key"), "none");
}

TEST_F(Settings, AreOldOrNewWhenTheWriterIsKilled)
{
    const std::string rest = "\n" + std::string(100'000, 'r');
    SetBytes("Key=0" + rest);
    for (int round = 0; round < 30; ++round)
    {
        int ready[2];
        ASSERT_EQ(pipe(ready), 0);
        const pid_t writer = fork();
        unsigned length = 0;
        while (writer == 0) // until it is killed
        {
            Write(m_File, "Key", std::string(1 + length++ % 50, '7'));
            [[maybe_unused]] const ssize_t told = write(ready[1], "", 1);
        }
        char token = 0;
        EXPECT_EQ(read(ready[0], &token, 1), 1);
        usleep(static_cast<useconds_t>(round * 37));
        kill(writer, SIGKILL);
        waitpid(writer, nullptr, 0);
        close(ready[0]);
        close(ready[1]);
        const std::string bytes = Bytes();
        const std::size_t end = bytes.find_first_not_of('7', 4);
        ASSERT_TRUE(bytes.starts_with("Key=7") && bytes.substr(end) == rest);
    }
}

#endif

} // namespace
