// Machines in code: a machine file's JSON with sensible content, to be changed case by case.
#pragma once

#include <nlohmann/json.hpp>

#include <cstdint>
#include <string>
#include <vector>

namespace Support
{

/// One entry of a SMART page.
struct Attribute
{
    int id;
    int value;
    std::uint64_t raw;
};

inline nlohmann::json SmartPage(const std::vector<Attribute>& attributes)
{
    nlohmann::json page = {{"attributes", nlohmann::json::array()}};
    for (const Attribute& entry : attributes)
        page["attributes"].push_back({{"id", entry.id},
                                      {"flags", 34},
                                      {"value", entry.value},
                                      {"worst", entry.value},
                                      {"raw", entry.raw}});
    return page;
}

inline nlohmann::json Identity(const std::string& model, const std::string& serial,
                               int rotation = 1)
{
    return {{"model", model}, {"serial", serial}, {"firmware", "FW0001"}, {"rotation", rotation}};
}

/// An SSD of 240057409536 bytes with one partition and 23 degrees.
inline nlohmann::json Disk(std::uint32_t number)
{
    const std::string text = std::to_string(number);
    return {{"number", number},
            {"bytes", 240057409536},
            {"identify", Identity("INTEL SSDSC2BB240G7", "SERIAL" + text)},
            {"smart", SmartPage({{9, 100, 8000}, {194, 77, 23}})},
            {"partitions",
             {{{"name", "Disk " + text + " Partition 1"},
               {"start", 1048576},
               {"bytes", 240055746560},
               {"index", 1}}}}};
}

inline nlohmann::json DiskNode(std::uint32_t number)
{
    return {{"id", "SCSI\\DISK&VEN_X&PROD_Y\\" + std::to_string(number)},
            {"service", "disk"},
            {"disks", {number}}};
}

inline nlohmann::json Controller(const std::string& service, nlohmann::json children,
                                 const std::string& id = "PCI\\VEN_8086&DEV_A352")
{
    return {{"id", id}, {"service", service}, {"children", std::move(children)}};
}

/// One storahci controller with these disks below it.
inline nlohmann::json MachineWith(const std::vector<nlohmann::json>& disks)
{
    nlohmann::json nodes = nlohmann::json::array();
    for (const nlohmann::json& disk : disks)
        nodes.push_back(DiskNode(disk["number"]));
    return {{"version", 1},
            {"modules", {{"storahci", "10.0.19041.3636"}}},
            {"devices", {Controller("storahci", nodes)}},
            {"disks", disks}};
}

/// `count` disks as Disk makes them, from number 0.
inline nlohmann::json MachineOf(std::uint32_t count)
{
    std::vector<nlohmann::json> disks;
    for (std::uint32_t number = 0; number < count; ++number)
        disks.push_back(Disk(number));
    return MachineWith(disks);
}

} // namespace Support
