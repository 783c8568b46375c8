// Any settings file, key and value: what was written is read back, and nothing else changes.
// Input: the lengths of the key and of the value, the key, the value, the file.
#include "contracts/zelPlug/ConfigFile.h"
#include "tests/fuzz/Require.h"

#include <algorithm>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

#include <unistd.h>

namespace
{

/// A file in memory that goes with the process.
struct SettingsFile
{
    const std::string path = "/dev/shm/tarnis-fuzz-" + std::to_string(getpid()) + ".ini";

    ~SettingsFile() { std::filesystem::remove(path); }
    void Write(const std::string& text) const { std::ofstream(path, std::ios::binary) << text; }
    std::string Read() const
    {
        std::ifstream in(path, std::ios::binary);
        return std::string(std::istreambuf_iterator<char>(in), {});
    }
};

std::string Trimmed(const std::string& text)
{
    const std::size_t begin = text.find_first_not_of(" \t");
    return begin == text.npos ? "" : text.substr(begin, text.find_last_not_of(" \t") + 1 - begin);
}

std::string ValueOf(const PI::CConfigFile& file, const std::string& key)
{
    std::string value = "\n"; // which no line holds
    file.ReadKeyValue(key, value, -1, -1);
    return value;
}

/// Fails unless one piece of a line was replaced, or a line was appended.
void RequireOneChange(const std::string& before, const std::string& after)
{
    const auto [left, right] = std::ranges::mismatch(before, after);
    const auto same = std::mismatch(before.rbegin(), std::make_reverse_iterator(left),
                                    after.rbegin(), std::make_reverse_iterator(right));
    const std::string removed(left, same.first.base());
    const std::string added(right, same.second.base());
    Require(removed.find('\n') == removed.npos, "a line was taken away");
    Require(added.find('\n') == added.npos || after.starts_with(before),
            "a line was put in between");
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    static const SettingsFile settings;
    std::string input(data, data + size);
    const auto take = [&input](std::size_t length)
    {
        const std::string taken = input.substr(0, length);
        input.erase(0, length);
        return taken;
    };
    const std::string lengths = take(2) + std::string(2, '\0');
    const std::string key = take(static_cast<unsigned char>(lengths[0]) % 8U);
    const std::string value = take(static_cast<unsigned char>(lengths[1]) % 8U);
    settings.Write(input);
    PI::CConfigFile file;
    file.SetFileName(settings.path);
    const std::string other = ValueOf(file, "k");

    const PI::_ERROR_CODE result = file.WriteKeyValue(key, value, -1, -1);
    const std::string after = settings.Read();
    if (result == PI::ERR_INVALID_PARAMETER)
    {
        Require(after == input, "a refused key or value changes nothing");
        return 0;
    }
    Require(result == PI::ERR_SUCCESS, "written");
    Require(ValueOf(file, key) == value, "read back");
    if (const std::string name = Trimmed(key); name != "k" && name != "K")
        Require(ValueOf(file, "k") == other, "another key keeps its value");
    RequireOneChange(input, after);
    Require(file.WriteKeyValue(key, value, -1, -1) == PI::ERR_SUCCESS && settings.Read() == after,
            "once more changes nothing");
    return 0;
}
