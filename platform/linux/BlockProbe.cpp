#include "platform/linux/BlockProbe.h"

#include <memory>
#include <type_traits>

#include <blkid/blkid.h>

namespace Platform
{

namespace
{

struct ProbeCloser
{
    void operator()(blkid_probe probe) const { blkid_free_probe(probe); }
};
using Probe = std::unique_ptr<std::remove_pointer_t<blkid_probe>, ProbeCloser>;

/// A probe with all its chains off; null when the device cannot be had.
Probe OpenProbe(int descriptor)
{
    Probe probe(blkid_new_probe());
    if (!probe || blkid_probe_set_device(probe.get(), descriptor, 0, 0) != 0)
        return nullptr;
    blkid_probe_enable_superblocks(probe.get(), 0);
    return probe;
}

std::string TextOf(const char* text)
{
    return text != nullptr ? text : "";
}

std::string ValueOf(const Probe& probe, const char* name)
{
    const char* value = nullptr;
    return blkid_probe_lookup_value(probe.get(), name, &value, nullptr) == 0 ? TextOf(value) : "";
}

} // namespace

TableFacts ProbeTable(int descriptor)
{
    TableFacts facts;
    const Probe probe = OpenProbe(descriptor);
    if (!probe)
        return facts;
    blkid_probe_enable_partitions(probe.get(), 1);
    blkid_partlist list = blkid_probe_get_partitions(probe.get());
    if (list == nullptr)
        return facts;
    facts.isThere = blkid_partlist_get_table(list) != nullptr;
    for (int at = 0; at < blkid_partlist_numof_partitions(list); ++at)
    {
        blkid_partition partition = blkid_partlist_get_partition(list, at);
        if (partition == nullptr)
            continue;
        TableEntry entry;
        entry.index = blkid_partition_get_partno(partition);
        entry.type = TextOf(blkid_partition_get_type_string(partition));
        // A table of the old kind has type numbers alone.
        if (entry.type.empty())
        {
            constexpr char Digits[] = "0123456789abcdef";
            const auto type = static_cast<unsigned>(blkid_partition_get_type(partition));
            entry.type = "0x";
            if (type > 0xF)
                entry.type += Digits[type >> 4 & 0xF];
            entry.type += Digits[type & 0xF];
        }
        entry.uuid = TextOf(blkid_partition_get_uuid(partition));
        facts.entries.push_back(std::move(entry));
    }
    return facts;
}

ContentFacts ProbeContent(int descriptor)
{
    ContentFacts facts;
    const Probe probe = OpenProbe(descriptor);
    if (!probe)
        return facts;
    blkid_probe_enable_superblocks(probe.get(), 1);
    blkid_probe_set_superblocks_flags(probe.get(), BLKID_SUBLKS_TYPE | BLKID_SUBLKS_LABEL);
    if (blkid_do_safeprobe(probe.get()) != 0)
        return facts;
    facts.fileSystem = ValueOf(probe, "TYPE");
    facts.label = ValueOf(probe, "LABEL");
    return facts;
}

} // namespace Platform
