#include "host/StateFile.h"

#include "contracts/zelStore/RowState.h"
#include "host/Failure.h"

#include <nlohmann/json.hpp>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <system_error>

namespace Host
{

namespace
{

namespace fs = std::filesystem;
using nlohmann::json;

constexpr int version = 1;

[[noreturn]] void FailWriting(const std::string& path, const std::string& reason)
{
    throw Failure(EXIT_PLUGIN, path + ": what was seen cannot be kept, " + reason +
                                   "; let this user write there, or name a database elsewhere with "
                                   "--database");
}

// A text of a drive may hold any bytes.
std::string Text(const json& content)
{
    constexpr int indent = 2;
    return content.dump(indent, ' ', true, json::error_handler_t::replace) + "\n";
}

} // namespace

StateFile::StateFile(const std::string& name, const std::string& remedy) : m_Remedy("; " + remedy)
{
    const std::string database = DatabaseWrapper::DatabaseFile();
    if (!database.empty())
        m_Path = (fs::path(database).parent_path() / name).string();
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
    std::ifstream file(m_Path, std::ios::binary);
    const std::string text{std::istreambuf_iterator<char>(file), {}};
    if (!file)
        throw Failure(EXIT_PLUGIN, m_Path + " cannot be read" + m_Remedy);
    json content = json::parse(text, nullptr, false);
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
    const std::string fresh = m_Path + ".new";
    {
        std::ofstream file(fresh, std::ios::binary | std::ios::trunc);
        file << Text(content);
        file.close();
        if (!file)
            FailWriting(m_Path, "the file cannot be written");
    }
    std::error_code error;
    fs::rename(fresh, m_Path, error);
    if (error)
        FailWriting(m_Path, error.message());
}

} // namespace Host
