#include "host/SeenDrives.h"

#include "host/StateFile.h"

#include <cstdint>
#include <optional>
#include <stdexcept>

namespace Host
{

namespace
{

StateFile File()
{
    return {"tarnisctl-check.json", "check --forget begins it anew"};
}

StateValue ValueOfCount(const std::optional<std::uint64_t>& count)
{
    return count ? StateValue(*count) : StateValue(nullptr);
}

std::optional<std::uint64_t> CountOf(const StateEntry& entry, const std::string& name)
{
    const auto found = entry.find(name);
    if (found != entry.end() && found->second == StateValue(nullptr))
        return std::nullopt;
    return ValueOf<std::uint64_t>(entry, name);
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

SeenDrive DriveOf(const StateEntry& entry)
{
    return {{ValueOf<std::string>(entry, "label"), ValueOf<std::string>(entry, "model"),
             ValueOf<std::string>(entry, "serial")},
            {CountOf(entry, "pending"), CountOf(entry, "uncorrectable")}};
}

} // namespace

std::vector<SeenDrive> ReadSeenDrives()
try
{
    std::vector<SeenDrive> drives;
    if (const auto state = File().Read())
        for (const StateEntry& entry : state->drives)
            drives.push_back(DriveOf(entry));
    return drives;
}
catch (const std::invalid_argument&)
{
    File().FailContent();
}

void WriteSeenDrives(const std::vector<SeenDrive>& drives)
{
    State state;
    for (const SeenDrive& drive : drives)
        state.drives.push_back({{"label", drive.identity.label},
                                {"model", drive.identity.model},
                                {"serial", drive.identity.serial},
                                {"pending", ValueOfCount(drive.errors.pendingSectors)},
                                {"uncorrectable", ValueOfCount(drive.errors.uncorrectableErrors)}});
    File().Write(state);
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
