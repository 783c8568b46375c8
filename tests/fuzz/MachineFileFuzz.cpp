// Any machine file: it is refused with one line, or its machine answers the same at every reading.
#include "platform/simulated/SimulatedMachine.h"
#include "tests/fuzz/Require.h"

#include <cstdint>
#include <memory>
#include <sstream>
#include <string>

namespace
{

using namespace Platform;

const std::string noFolder = "/nowhere"; // page files are never found

std::shared_ptr<SimulatedMachine> Read(const std::string& text, std::string& message)
{
    message.clear();
    return SimulatedMachine::FromText(text, noFolder, message);
}

void RequireOneLine(const std::string& message)
{
    Require(message.find(": ") != message.npos && message.find("; ") != message.npos,
            "a message names the place and what to do");
    for (const char letter : message)
        Require(static_cast<unsigned char>(letter) >= ' ' && letter != 0x7F,
                "a message is one line without control characters");
}

/// Whether a node stands behind its parent, and is among the children of that.
bool HangsOn(const DeviceTree& tree, std::size_t node)
{
    const std::size_t parent = tree[node].parent;
    if (node == 0 || parent >= node)
        return node == 0 && parent == DeviceNode::None;
    std::size_t child = tree[parent].firstChild;
    while (child < tree.size() && child != node)
    {
        if (tree[child].nextSibling <= child) // it would never end
            return false;
        child = tree[child].nextSibling;
    }
    return child == node;
}

/// What a disk answers to each question, as text.
void TellDisk(SimulatedMachine& machine, const std::string& path, std::ostream& out)
{
    const auto number = machine.NumberOfInterface(path);
    Require(number.has_value(), "an interface of the tree leads to a disk");
    std::unique_ptr<Device> device;
    out << *number << ' ' << machine.OpenDevice(path, true, device);
    if (!device)
        return;
    DWORD told = 0;
    Sector identify{}, smart{};
    std::uint64_t bytes = 0;
    std::vector<ZKTX::CSystemPartition> partitions;
    out << ' ' << device->DiskNumber(told) << device->SmartVersion() << device->Identify(identify)
        << device->SmartData(smart) << device->Length(bytes) << bytes
        << machine.Partitions(*number, partitions) << partitions.size();
    Require(told == 0 || told == *number, "a disk tells the number of its interface");
    out.write(reinterpret_cast<const char*>(identify.data()), SectorBytes);
    out.write(reinterpret_cast<const char*>(smart.data()), SectorBytes);
}

std::string Told(SimulatedMachine& machine)
{
    const auto tree = machine.ReadDeviceTree();
    std::ostringstream out;
    for (std::size_t node = 0; tree && node < tree->size(); ++node)
    {
        Require(HangsOn(*tree, node), "the tree holds together");
        out << (*tree)[node].id << '|' << (*tree)[node].service << '\n';
        for (const std::string& path : (*tree)[node].diskInterfaces)
            TellDisk(machine, path, out);
    }
    return out.str();
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const std::string text(data, data + size);
    if (text.find("delay") != text.npos) // would be waited for
        return 0;
    std::string message;
    const auto machine = Read(text, message);
    if (!machine)
    {
        RequireOneLine(message);
        const auto sound = Read(R"({"version": 1, "devices": [{"id": "A"}]})", message);
        const auto before = sound->ReadDeviceTree();
        Require(!sound->Replace(text, message) && sound->ReadDeviceTree() == before,
                "a wrong text leaves the machine as it is");
        return 0;
    }
    const std::string told = Told(*machine);
    Require(Told(*machine) == told, "a machine answers the same again");
    Require(Told(*Read(text, message)) == told, "the same text makes the same machine");
    return 0;
}
