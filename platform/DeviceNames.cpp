#include "platform/DeviceNames.h"

#include "platform/Machine.h"

#include <algorithm>
#include <charconv>

namespace Platform
{

namespace
{

char Fold(char letter)
{
    return letter >= 'A' && letter <= 'Z' ? static_cast<char>(letter - 'A' + 'a') : letter;
}

} // namespace

std::string FoldCase(std::string_view text)
{
    std::string folded(text);
    std::transform(folded.begin(), folded.end(), folded.begin(), Fold);
    return folded;
}

std::string DiskInterfacePath(std::string_view deviceId, std::size_t position)
{
    std::string path = "\\\\?\\" + FoldCase(deviceId) + "#{53f56307-b6bf-11d0-94f2-00a0c91efb8b}";
    std::replace(path.begin() + 4, path.end(), '\\', '#');
    // Windows tells the interfaces of one device apart by a reference text behind the class.
    if (position != 0)
        path += "\\" + std::to_string(position);
    return path;
}

bool DiskNumberOfPath(const std::string& path, DWORD& number)
{
    constexpr std::string_view Prefix = "\\\\.\\physicaldrive";
    if (path.size() <= Prefix.size() ||
        !std::equal(Prefix.begin(), Prefix.end(), path.begin(),
                    [](char wanted, char letter) { return wanted == Fold(letter); }))
        return false;
    const char* first = path.data() + Prefix.size();
    const char* last = path.data() + path.size();
    std::int32_t value = 0;
    const auto [end, error] = std::from_chars(first, last, value);
    // One disk has one name: "+1", "-1" and "01" are none.
    if (error != std::errc() || end != last || *first == '-' || (*first == '0' && last - first > 1))
        return false;
    number = static_cast<DWORD>(value);
    return true;
}

} // namespace Platform
