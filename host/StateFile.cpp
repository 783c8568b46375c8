#include "host/StateFile.h"

#include "contracts/zelKit/Environment.h"
#include "contracts/zelPlug/WholeFile.h"
#include "contracts/zelStore/RowState.h"
#include "host/Failure.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <utility>

namespace Host
{

namespace
{

namespace fs = std::filesystem;
constexpr const char* versionName = "version";
constexpr std::uint64_t version = 1;
constexpr std::size_t largest = 16 << 20;

/// What sets the files of a machine file apart from those of the computer, in whose folder they lie
/// when nobody names another: its database's name.
std::string PrefixOf(const fs::path& database)
{
    const bool isBesideOther = ZKT::Misc::GetVariable("TARNIS_DATABASE").empty() &&
                               !ZKT::Misc::GetVariable("TARNIS_MACHINE").empty();
    return isBesideOther ? database.stem().string() + "-" : std::string();
}

} // namespace

std::string KeptText(const std::string& text)
{
    const bool isPlain = std::ranges::all_of(text, [](char c) { return c >= ' ' && c <= '~'; });
    if (isPlain)
        return text;
    const auto kept = ParseState(StateText({{{"text", text}}, {}}));
    return ValueOf<std::string>(kept.value().state.facts, "text");
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

std::optional<State> StateFile::Read() const
{
    if (m_Path.empty())
        return std::nullopt;
    std::string text;
    switch (PI::ReadWholeFile(m_Path, largest, text))
    {
    case PI::FileState::Read:
        break;
    case PI::FileState::Missing:
        return std::nullopt;
    case PI::FileState::NoFile:
        throw Failure(EXIT_PLUGIN, m_Path + " is no regular file" + m_Remedy);
    case PI::FileState::TooLong:
        FailContent();
    case PI::FileState::Link:
        throw Failure(EXIT_PLUGIN,
                      m_Path + " is reached by a link that others may have made" + m_Remedy);
    case PI::FileState::Unreadable:
        throw Failure(EXIT_PLUGIN, m_Path + " cannot be read" + m_Remedy);
    }
    auto parsed = ParseState(text);
    if (!parsed || !parsed->state.facts.contains(versionName))
        FailContent();
    if (parsed->state.facts[versionName] != StateValue(version))
        throw Failure(EXIT_PLUGIN, m_Path + " is of another version" + m_Remedy);
    if (!parsed->isWhole)
        FailContent();
    return std::move(parsed->state);
}

void StateFile::Write(State state) const
{
    if (m_Path.empty())
        return;
    state.facts[versionName] = version;
    if (!PI::ReplaceWholeFile(m_Path, StateText(state)))
        throw Failure(EXIT_PLUGIN, m_Path + ": what was seen cannot be kept, the file cannot be "
                                            "written; let this user write there, or name a "
                                            "database elsewhere with --database");
}

} // namespace Host
