#include "host/StateFile.h"

#include "contracts/zelStore/RowState.h"
#include "host/Failure.h"
#include "host/Json.h"

#include <filesystem>
#include <fstream>
#include <iterator>
#include <system_error>

namespace Host
{

namespace
{

namespace fs = std::filesystem;

constexpr int version = 1;

Json CountJson(const std::optional<std::uint64_t>& count)
{
    return count ? Json(*count) : Json(nullptr);
}

std::optional<std::uint64_t> CountOf(const Json& json)
{
    return json.is_null() ? std::nullopt : std::optional(json.get<std::uint64_t>());
}

[[noreturn]] void FailWriting(const std::string& path, const std::string& reason)
{
    throw Failure(EXIT_PLUGIN, path + ": what was seen cannot be kept, " + reason +
                                   "; let this user write there, or name a database elsewhere with "
                                   "--database");
}

} // namespace

StateFile::StateFile(const std::string& name)
{
    const std::string database = DatabaseWrapper::DatabaseFile();
    if (!database.empty())
        m_Path = (fs::path(database).parent_path() / name).string();
}

std::optional<SeenDrives> StateFile::Read() const
{
    std::error_code error;
    if (m_Path.empty() || !fs::exists(m_Path, error))
        return std::nullopt;
    const std::string remedy = "; check --forget begins it anew";
    if (!fs::is_regular_file(m_Path, error))
        throw Failure(EXIT_PLUGIN, m_Path + " is no regular file" + remedy);
    std::ifstream file(m_Path, std::ios::binary);
    const std::string text{std::istreambuf_iterator<char>(file), {}};
    if (!file)
        throw Failure(EXIT_PLUGIN, m_Path + " cannot be read" + remedy);
    try
    {
        const Json json = Json::parse(text);
        if (json.at("version") != version)
            throw Failure(EXIT_PLUGIN, m_Path + " is of another version" + remedy);
        SeenDrives drives;
        for (const auto& [serial, entry] : json.at("drives").items())
            drives[serial] = {entry.at("label"), entry.at("model"), CountOf(entry.at("pending")),
                              CountOf(entry.at("uncorrectable"))};
        return drives;
    }
    catch (const Json::exception&)
    {
        throw Failure(EXIT_PLUGIN, m_Path + " does not hold what check keeps there" + remedy);
    }
}

void StateFile::Write(const SeenDrives& drives) const
{
    if (m_Path.empty())
        return;
    Json json = {{"version", version}, {"drives", Json::object()}};
    for (const auto& [serial, drive] : drives)
        json["drives"][serial] = {{"label", drive.label},
                                  {"model", drive.model},
                                  {"pending", CountJson(drive.pendingSectors)},
                                  {"uncorrectable", CountJson(drive.uncorrectableErrors)}};
    const std::string fresh = m_Path + ".new";
    {
        std::ofstream file(fresh, std::ios::binary | std::ios::trunc);
        file << JsonText(json);
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
