#include "host/SeenDrives.h"

#include "host/StateFile.h"

#include <nlohmann/json.hpp>

#include <cstdint>
#include <optional>

namespace Host
{

namespace
{

using nlohmann::json;

StateFile File()
{
    return {"tarnisctl-check.json", "check --forget begins it anew"};
}

json CountJson(const std::optional<std::uint64_t>& count)
{
    return count ? json(*count) : json(nullptr);
}

std::optional<std::uint64_t> CountOf(const json& count)
{
    return count.is_null() ? std::nullopt : std::optional(count.get<std::uint64_t>());
}

Identity IdentityOf(const Drive& drive)
{
    return KeptIdentity(drive.label, drive.model, drive.serial);
}

std::vector<std::optional<std::size_t>> Find(const std::vector<Drive>& drives,
                                             const std::vector<SeenDrive>& seen)
{
    std::vector<Identity> present;
    for (const Drive& drive : drives)
        present.push_back(IdentityOf(drive));
    std::vector<Identity> remembered;
    for (const SeenDrive& drive : seen)
        remembered.push_back(drive.identity);
    return FindAgain(present, remembered);
}

SeenDrive DriveOf(const json& entry)
{
    return {{entry.at("label"), entry.at("model"), entry.at("serial")},
            {CountOf(entry.at("pending")), CountOf(entry.at("uncorrectable"))}};
}

} // namespace

std::vector<SeenDrive> ReadSeenDrives()
{
    const StateFile file = File();
    const std::optional<json> content = file.Read();
    std::vector<SeenDrive> drives;
    if (!content)
        return drives;
    try
    {
        for (const json& entry : content->at("drives"))
            drives.push_back(DriveOf(entry));
    }
    catch (const json::exception&)
    {
        file.FailContent();
    }
    return drives;
}

void WriteSeenDrives(const std::vector<SeenDrive>& drives)
{
    json entries = json::array();
    for (const SeenDrive& drive : drives)
        entries.push_back({{"label", drive.identity.label},
                           {"model", drive.identity.model},
                           {"serial", drive.identity.serial},
                           {"pending", CountJson(drive.errors.pendingSectors)},
                           {"uncorrectable", CountJson(drive.errors.uncorrectableErrors)}});
    File().Write({{"drives", entries}});
}

SeenChanges CompareWithSeen(const std::vector<Drive>& drives, const std::vector<SeenDrive>& seen)
{
    const auto found = Find(drives, seen);
    SeenChanges changes;
    std::vector<bool> isThere(seen.size(), false);
    for (std::size_t i = 0; i < drives.size(); ++i)
    {
        SeenDrive now{IdentityOf(drives[i]), drives[i].errors};
        if (found[i])
        {
            isThere[*found[i]] = true;
            const SeenDrive& before = seen[*found[i]];
            for (const std::string& risen : RisenErrors(before.errors, now.errors))
                changes.risen.push_back(NameOf(drives[i]) + ": " + risen);
            now.errors.FillFrom(before.errors);
            if (now.identity.IsNameless()) // it is silent, and will have its name again
                now.identity = before.identity;
        }
        changes.known.push_back(now);
    }
    for (std::size_t i = 0; i < seen.size(); ++i)
        if (!isThere[i])
        {
            changes.gone.push_back(seen[i]);
            changes.known.push_back(seen[i]);
        }
    return changes;
}

void NameSilentDrives(std::vector<Drive>& drives, const std::vector<SeenDrive>& seen)
{
    const auto found = Find(drives, seen);
    for (std::size_t i = 0; i < drives.size(); ++i)
        if (found[i] && IdentityOf(drives[i]).IsNameless())
        {
            drives[i].model = seen[*found[i]].identity.model;
            drives[i].serial = seen[*found[i]].identity.serial;
        }
}

} // namespace Host
