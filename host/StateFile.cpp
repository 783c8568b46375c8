#include "host/StateFile.h"

#include "contracts/zelKit/Environment.h"
#include "contracts/zelStore/RowState.h"
#include "host/Failure.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <cstddef>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <random>
#include <system_error>

namespace Host
{

namespace
{

namespace fs = std::filesystem;
using nlohmann::json;

constexpr int version = 1;
constexpr std::size_t largest = 16 << 20;

[[noreturn]] void FailWriting(const std::string& path, const std::string& reason)
{
    throw Failure(EXIT_PLUGIN, path + ": what was seen cannot be kept, " + reason +
                                   "; let this user write there, or name a database elsewhere with "
                                   "--database");
}

/// @return nothing when it cannot be read
std::optional<std::string> ReadAll(const std::string& path)
{
    std::ifstream file(path, std::ios::binary);
    std::string text;
    char buffer[65536];
    do
    {
        file.read(buffer, sizeof buffer);
        text.append(buffer, static_cast<std::size_t>(file.gcount()));
    } while (file && text.size() <= largest);
    return file.eof() || text.size() > largest ? std::optional(text) : std::nullopt;
}

/// A name that no other program writes to.
std::string FreshName(const std::string& path)
{
    char suffix[16];
    std::snprintf(suffix, sizeof suffix, ".%08x", std::random_device()());
    return path + suffix;
}

/// What sets the files of a machine file apart from those of the computer, in whose folder they lie
/// when nobody names another: its database's name.
std::string PrefixOf(const fs::path& database)
{
    const bool isBesideOther = ZKT::Misc::GetVariable("TARNIS_DATABASE").empty() &&
                               !ZKT::Misc::GetVariable("TARNIS_MACHINE").empty();
    return isBesideOther ? database.stem().string() + "-" : std::string();
}

} // namespace

std::string JsonText(const json& content)
{
    constexpr int indent = 2;
    return content.dump(indent, ' ', true, json::error_handler_t::replace) + "\n";
}

std::string KeptText(const std::string& text)
{
    const bool isPlain = std::ranges::all_of(text, [](char c) { return c >= ' ' && c <= '~'; });
    return isPlain ? text : json::parse(JsonText(text)).get<std::string>();
}

StateFile::StateFile(const std::string& name, const std::string& remedy) : m_Remedy("; " + remedy)
{
    const std::string database = DatabaseWrapper::DatabaseFile();
    if (!database.empty())
        m_Path = (fs::path(database).parent_path() / (PrefixOf(database) + name)).string();
}

void StateFile::FailContent() const
{
    throw Failure(EXIT_PLUGIN, m_Path + " does not hold what is kept there" + m_Remedy);
}

std::optional<json> StateFile::Read() const
{
    std::error_code error;
    if (m_Path.empty() || !fs::exists(m_Path, error))
        return std::nullopt;
    if (!fs::is_regular_file(m_Path, error))
        throw Failure(EXIT_PLUGIN, m_Path + " is no regular file" + m_Remedy);
    const std::optional<std::string> text = ReadAll(m_Path);
    if (!text)
        throw Failure(EXIT_PLUGIN, m_Path + " cannot be read" + m_Remedy);
    if (text->size() > largest)
        FailContent();
    json content = json::parse(*text, nullptr, false);
    if (!content.is_object() || !content.contains("version"))
        FailContent();
    if (content["version"] != version)
        throw Failure(EXIT_PLUGIN, m_Path + " is of another version" + m_Remedy);
    return content;
}

void StateFile::Write(json content) const
{
    if (m_Path.empty())
        return;
    content["version"] = version;
    const std::string fresh = FreshName(m_Path);
    {
        std::ofstream file(fresh, std::ios::binary | std::ios::trunc);
        file << JsonText(content);
        file.close();
        if (!file)
        {
            std::remove(fresh.c_str());
            FailWriting(m_Path, "the file cannot be written");
        }
    }
    std::error_code error;
    fs::rename(fresh, m_Path, error);
    if (error)
    {
        std::remove(fresh.c_str());
        FailWriting(m_Path, error.message());
    }
}

} // namespace Host
