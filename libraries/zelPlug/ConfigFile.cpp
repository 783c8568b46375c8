#include "contracts/zelPlug/ConfigFile.h"

#include "base/UntilUnload.h"
#include "contracts/zelKit/Environment.h"
#include "contracts/zelKit/Text.h"
#include "libraries/PrivateFile.h"
#include "libraries/zelPlug/ConfigFolder.h"
#include "libraries/zelPlug/FileReplacement.h"

#include <boost/filesystem/operations.hpp>

#include <algorithm>
#include <atomic>
#include <exception>
#include <map>
#include <mutex>
#include <new>
#include <string_view>

namespace PI
{
namespace
{

using boost::filesystem::path;

constexpr std::size_t largestFile = 64 * 1024 * 1024;
constexpr std::string_view byteOrderMark = "\xEF\xBB\xBF";
constexpr std::string_view blanks = " \t";

path ConfigFolder()
{
    const std::string named = ZKT::Misc::GetVariable("TARNIS_CONFIG_DIR");
    return named.empty() ? Internals::DefaultConfigFolder() : path(named);
}

std::string_view Trimmed(std::string_view text)
{
    const std::size_t begin = text.find_first_not_of(blanks);
    if (begin == std::string_view::npos)
        return {};
    return text.substr(begin, text.find_last_not_of(blanks) + 1 - begin);
}

char ToLower(char letter)
{
    return letter >= 'A' && letter <= 'Z' ? static_cast<char>(letter - 'A' + 'a') : letter;
}

bool IsSameKey(std::string_view left, std::string_view right)
{
    return std::equal(left.begin(), left.end(), right.begin(), right.end(),
                      [](char a, char b) { return ToLower(a) == ToLower(b); });
}

/// Whether a line can hold the key so that it is found again.
bool IsKey(std::string_view key)
{
    return !key.empty() && key.find_first_of(std::string_view("=\r\n\0", 4)) == key.npos &&
           std::string_view("#;[").find(key.front()) == std::string_view::npos &&
           !key.starts_with(byteOrderMark);
}

bool IsValue(std::string_view value)
{
    return value.find_first_of(std::string_view("\r\n\0", 3)) == value.npos;
}

/// Place of a value in the text of a file.
struct ValuePlace
{
    std::size_t begin;
    std::size_t length;
};

// Comments and section heads need no look of their own: what stands before their "=" is no key.
bool FindValue(std::string_view text, std::string_view key, ValuePlace& place)
{
    std::size_t begin = text.starts_with(byteOrderMark) ? byteOrderMark.size() : 0;
    while (begin < text.size())
    {
        const std::size_t lineFeed = text.find('\n', begin);
        const bool lastLine = lineFeed == std::string_view::npos;
        std::string_view line = text.substr(begin, lastLine ? lineFeed : lineFeed - begin);
        if (!lastLine && line.ends_with('\r'))
            line.remove_suffix(1);
        const std::size_t equals = line.find('=');
        if (equals != std::string_view::npos && IsSameKey(Trimmed(line.substr(0, equals)), key))
        {
            place = {begin + equals + 1, line.size() - equals - 1};
            return true;
        }
        if (lastLine)
            return false;
        begin = lineFeed + 1;
    }
    return false;
}

std::string_view LineEndOf(std::string_view text)
{
    const std::size_t lineFeed = text.find('\n');
    const bool withReturn =
        lineFeed != std::string_view::npos && lineFeed != 0 && text[lineFeed - 1] == '\r';
    return withReturn ? "\r\n" : "\n";
}

void SetValue(std::string& text, std::string_view key, std::string_view value)
{
    ValuePlace place{};
    if (FindValue(text, key, place))
    {
        text.replace(place.begin, place.length, value);
        return;
    }
    const std::string_view lineEnd = LineEndOf(text);
    // A CR at the very end belongs to its value, and must not become half a line end.
    if (text.ends_with('\r'))
        text += "\r\n";
    else if (!text.empty() && !text.ends_with('\n') && text != byteOrderMark)
        text += lineEnd;
    text.append(key).append("=").append(value).append(lineEnd);
}

_ERROR_CODE Write(const path& name, std::string_view key, std::string_view value)
{
    path target = Internals::LocateConfigFile(name);
    if (target.empty() || !PrivateFile::ResolveLinks(target))
        return ERR_WRITE_ACCESS_DENIED;
    Internals::FileContent content;
    std::optional<Internals::FileAttributes> attributes;
    switch (Internals::ReadWhole(target, Internals::Purpose::Replace, largestFile, content))
    {
    case Internals::ReadResult::Read:
        attributes = content.attributes;
        break;
    case Internals::ReadResult::Missing:
        break;
    case Internals::ReadResult::Unreadable:
        return ERR_WRITE_ACCESS_DENIED;
    }
    SetValue(content.text, key, value);
    // A file that could not be read back is no way to keep a setting.
    if (content.text.size() > largestFile ||
        !Internals::PutInPlace(target, content.text, attributes))
        return ERR_WRITE_ACCESS_DENIED;
    return ERR_SUCCESS;
}

/// The files that could not be read, with the line that tells of each.
class UnreadableFiles
{
  public:
    void Note(const path& file, const Internals::FileContent& content)
    {
        std::string line = ZKT::Misc::Printable(file.string() + ": " + Complaint(content));
        const std::lock_guard lock(m_Mutex);
        m_Lines[file.string()] = std::move(line);
        m_HasAny = true;
    }

    void Clear(const path& file)
    {
        if (!m_HasAny) // every look into a file comes here
            return;
        const std::lock_guard lock(m_Mutex);
        m_Lines.erase(file.string());
        m_HasAny = !m_Lines.empty();
    }

    std::vector<std::string> Lines() const
    {
        const std::lock_guard lock(m_Mutex);
        std::vector<std::string> lines;
        for (const auto& [file, line] : m_Lines)
            lines.push_back(line);
        return lines;
    }

  private:
    static std::string Complaint(const Internals::FileContent& content)
    {
        const std::string effect = "; defaults apply; ";
        switch (content.why)
        {
        case Internals::Unreadable::Forbidden:
            return "this user may not read it" + effect + "give this user the right to";
        case Internals::Unreadable::NoFile:
            return "not a regular file" + effect + "put a text file in its place";
        case Internals::Unreadable::Link:
            return "a link on its way is not followed, because others may write to the folder "
                   "of the link or it has no end" +
                   effect + "name the file's own place";
        case Internals::Unreadable::TooLong:
            return "longer than " + std::to_string(largestFile >> 20) + " MiB" + effect +
                   "shorten it";
        default:
            return "cannot be read (" + content.reason + ")" + effect +
                   "repair that, or name another folder in TARNIS_CONFIG_DIR";
        }
    }

    mutable std::mutex m_Mutex; ///< guards m_Lines
    std::map<std::string, std::string> m_Lines;
    std::atomic<bool> m_HasAny = false;
};

UnreadableFiles& TheUnreadableFiles()
{
    static Base::UntilUnload<UnreadableFiles> files;
    return *files;
}

/// Reads a file of settings, and notes when that cannot be done.
bool Read(const path& file, Internals::FileContent& content)
{
    path target = file;
    Internals::ReadResult result = Internals::ReadResult::Unreadable;
    if (PrivateFile::ResolveLinks(target))
        result = Internals::ReadWhole(target, Internals::Purpose::Read, largestFile, content);
    else
        content.why = Internals::Unreadable::Link;
    if (result == Internals::ReadResult::Unreadable)
        TheUnreadableFiles().Note(file, content);
    else
        TheUnreadableFiles().Clear(file);
    return result == Internals::ReadResult::Read;
}

} // namespace

path Internals::LocateConfigFile(const path& name)
{
    if (name.empty() || name.has_parent_path())
        return name;
    const path folder = ConfigFolder();
    return folder.empty() ? path() : folder / name;
}

CConfigFile::CConfigFile() = default;

std::vector<std::string> CConfigFile::GetUnreadableFiles()
{
    return TheUnreadableFiles().Lines();
}

_ERROR_CODE CConfigFile::ReadKeyValue(const std::string& key, std::string& value, int section,
                                      int index) const
{
    try
    {
        const std::string_view wanted = Trimmed(key);
        Internals::FileContent content;
        ValuePlace place{};
        if (section != -1 || index != -1 || !IsKey(wanted) ||
            !Read(Internals::LocateConfigFile(m_FileName), content) ||
            !FindValue(content.text, wanted, place))
            return ERR_CONFIG_VALUE_NOT_FOUND;
        value = content.text.substr(place.begin, place.length);
        return ERR_SUCCESS;
    }
    catch (const std::bad_alloc&)
    {
        throw;
    }
    catch (const std::exception&)
    {
        return ERR_CONFIG_VALUE_NOT_FOUND;
    }
}

_ERROR_CODE CConfigFile::WriteKeyValue(const std::string& key, const std::string& value,
                                       int section, int index)
{
    try
    {
        const std::string_view wanted = Trimmed(key);
        if (section != -1 || index != -1 || !IsKey(wanted) || !IsValue(value))
            return ERR_INVALID_PARAMETER;
        return Write(m_FileName, wanted, value);
    }
    catch (const std::exception&)
    {
        return ERR_WRITE_ACCESS_DENIED;
    }
}

} // namespace PI
