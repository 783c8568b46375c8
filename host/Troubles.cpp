#include "host/Troubles.h"

#include "contracts/zelKitEx/System.h"
#include "contracts/zelPlug/ConfigFile.h"
#include "contracts/zelPlug/Settings.h"
#include "contracts/zelStore/RowState.h"
#include "host/Output.h"

#include <algorithm>
#include <utility>

namespace
{

using Host::Trouble;
using Host::TroubleKind;

bool HoldsKind(const std::vector<Trouble>& troubles, TroubleKind kind)
{
    return std::any_of(troubles.begin(), troubles.end(),
                       [kind](const Trouble& trouble) { return trouble.kind == kind; });
}

} // namespace

namespace Host
{

std::string_view NameOf(TroubleKind kind)
{
    switch (kind)
    {
    case TroubleKind::Right:
        return "right";
    case TroubleKind::Database:
        return "database";
    case TroubleKind::Settings:
        return "settings";
    }
    return {};
}

Troubles::Troubles() : m_WrongSettings(PI::FindWrongSettings()) {}

bool Troubles::Has(TroubleKind kind) const
{
    return HoldsKind(m_Current, kind);
}

void Troubles::Report()
{
    constexpr std::pair<TroubleKind, const char*> recoveries[] = {
        {TroubleKind::Right, "all disks can be read again"},
        {TroubleKind::Database, "the database: rows are written again"},
    };
    const std::vector<Trouble> before = std::exchange(m_Current, Ask());
    for (const Trouble& trouble : m_Current)
        if (std::find(before.begin(), before.end(), trouble) == before.end())
            Complain(trouble.line);
    for (const auto& [kind, line] : recoveries)
        if (HoldsKind(before, kind) && !Has(kind))
            Complain(line);
}

std::vector<Trouble> Troubles::Ask() const
{
    std::vector<Trouble> troubles;
    std::string line;
    if (ZKTX::CSystem::IsRightMissing(line))
        troubles.push_back({TroubleKind::Right, line});
    if (DatabaseWrapper::AreRowsRefused(line))
        troubles.push_back({TroubleKind::Database, line});
    for (const std::string& file : PI::CConfigFile::GetUnreadableFiles())
        troubles.push_back({TroubleKind::Settings, file});
    for (const std::string& setting : m_WrongSettings)
        troubles.push_back({TroubleKind::Settings, setting});
    return troubles;
}

} // namespace Host
