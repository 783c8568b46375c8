#include "platform/DeviceNames.h"

#include "platform/Machine.h"

#include <algorithm>
#include <charconv>

namespace Platform
{

std::string FoldCase(std::string_view text)
{
    std::string folded(text);
    for (char& letter : folded)
    {
        if (letter >= 'A' && letter <= 'Z')
            letter = static_cast<char>(letter - 'A' + 'a');
    }
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
        FoldCase(std::string_view(path).substr(0, Prefix.size())) != Prefix)
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
