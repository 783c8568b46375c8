#include "platform/linux/BlockProbe.h"

#include "platform/Shortage.h"
#include "platform/linux/SystemFiles.h"

#include <array>
#include <cerrno>
#include <charconv>
#include <memory>
#include <type_traits>
#include <utility>

#include <blkid/blkid.h>

namespace Platform
{

namespace
{

// What blkid_do_safeprobe gives beside 0, for what it found, and -2, for several things at once.
constexpr int NothingFound = 1;
constexpr int Unreadable = -1;

struct ProbeCloser
{
    void operator()(blkid_probe probe) const { blkid_free_probe(probe); }
};
using Probe = std::unique_ptr<std::remove_pointer_t<blkid_probe>, ProbeCloser>;

/// A probe with all its chains off; null when the device cannot be had.
Probe OpenProbe(int descriptor)
{
    Probe probe(blkid_new_probe());
    if (!probe)
        throw Shortage(); // it asks for nothing but memory
    errno = 0;
    if (blkid_probe_set_device(probe.get(), descriptor, 0, 0) != 0)
    {
        CheckResources(errno);
        return nullptr;
    }
    blkid_probe_enable_superblocks(probe.get(), 0);
    return probe;
}

/// What blkid_do_safeprobe gives.
int Search(const Probe& probe)
{
    errno = 0;
    const int found = blkid_do_safeprobe(probe.get());
    if (found == Unreadable)
        CheckResources(errno);
    return found;
}

std::string TextOf(const char* text)
{
    return text != nullptr ? text : "";
}

std::string Hexadecimal(int number)
{
    std::array<char, 16> text = {'0', 'x'};
    const auto end = std::to_chars(text.data() + 2, text.data() + text.size(), number, 16).ptr;
    return {text.data(), end};
}

std::string ValueOf(const Probe& probe, const char* name)
{
    const char* value = nullptr;
    return blkid_probe_lookup_value(probe.get(), name, &value, nullptr) == 0 ? TextOf(value) : "";
}

} // namespace

std::optional<TableFacts> ProbeTable(int descriptor)
{
    const Probe probe = OpenProbe(descriptor);
    if (!probe)
        return std::nullopt;
    blkid_probe_enable_partitions(probe.get(), 1);
    const int found = Search(probe);
    if (found == Unreadable)
        return std::nullopt;
    TableFacts facts;
    facts.isThere = found != NothingFound;
    blkid_partlist list = facts.isThere ? blkid_probe_get_partitions(probe.get()) : nullptr;
    const int count = list != nullptr ? blkid_partlist_numof_partitions(list) : 0;
    for (int at = 0; at < count; ++at)
    {
        constexpr std::uint64_t Sector = 512; // of the library, whatever the disk's own is
        blkid_partition partition = blkid_partlist_get_partition(list, at);
        if (partition == nullptr)
            continue;
        TableEntry entry;
        entry.index = blkid_partition_get_partno(partition);
        entry.start = static_cast<std::uint64_t>(blkid_partition_get_start(partition)) * Sector;
        entry.type = TextOf(blkid_partition_get_type_string(partition));
        // A table of the old kind has type numbers alone.
        if (entry.type.empty())
            entry.type = Hexadecimal(blkid_partition_get_type(partition));
        entry.uuid = TextOf(blkid_partition_get_uuid(partition));
        facts.entries.push_back(std::move(entry));
    }
    return facts;
}

std::optional<ContentFacts> ProbeContent(int descriptor)
{
    const Probe probe = OpenProbe(descriptor);
    if (!probe)
        return std::nullopt;
    blkid_probe_enable_superblocks(probe.get(), 1);
    blkid_probe_set_superblocks_flags(probe.get(), BLKID_SUBLKS_TYPE | BLKID_SUBLKS_LABEL);
    const int found = Search(probe);
    if (found == Unreadable)
        return std::nullopt;
    ContentFacts facts;
    facts.isThere = found != NothingFound;
    if (found == 0)
    {
        facts.fileSystem = ValueOf(probe, "TYPE");
        facts.label = ValueOf(probe, "LABEL");
    }
    return facts;
}

} // namespace Platform
