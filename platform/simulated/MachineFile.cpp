#include "platform/simulated/MachineFile.h"

#include "platform/DeviceNames.h"
#include "platform/simulated/JsonValue.h"
#include "platform/simulated/Sections.h"

#include <exception>
#include <new>
#include <optional>
#include <utility>

namespace Platform
{

namespace
{

constexpr std::size_t LongestFile = 64 * 1024 * 1024;
constexpr std::size_t LongestVersion = 255;

void ReadModules(const JsonValue& modules, MachineRecord& machine)
{
    modules.EachMember(
        [&](const std::string& service, const JsonValue& text)
        {
            if (service.empty() || service.size() > LongestService)
                text.Fail("a service name has 1 to 199 bytes", "correct it");
            if (!machine.modules.emplace(FoldCase(service), text.Text(LongestVersion)).second)
                text.Fail("this service stands twice, letter case does not count",
                          "remove one of them");
        });
}

/// All but the disks' items, which are read by then.
void ReadTop(const JsonValue& top, MachineRecord& machine)
{
    top.DemandObject({"version", "modules", "devices", "disks"});
    if (const JsonValue version = top.Member("version"); !version.Is(1))
        version.Fail("found " + version.Shown(), "this program reads version 1");
    if (top.Has("modules"))
        ReadModules(top.Member("modules"), machine);
    ReadDevices(top, machine);
    if (top.Has("disks"))
        top.Member("disks").DemandKind(top.Member("disks").IsList(), "a list");
}

std::shared_ptr<MachineRecord> ReadText(const std::string& text, PageFiles& pages)
{
    auto machine = std::make_shared<MachineRecord>();
    DisksReader disks(pages, *machine);
    std::optional<Complaint> wrongDisk; // told when all that comes before it is right
    const auto read = [&](const nlohmann::json& root, std::size_t position)
    {
        const JsonValue top(root);
        const JsonValue list = top.Member("disks");
        try
        {
            if (!wrongDisk)
                disks.Read(list.Item(position), position);
        }
        catch (const Complaint& complaint)
        {
            wrongDisk = complaint;
        }
    };
    const JsonDocument document = ParseJson(text, {"disks", read});
    ReadTop(JsonValue(document.root), *machine);
    if (wrongDisk)
        throw *wrongDisk;
    return machine;
}

/// Turns whatever a reader throws into the one line.
template <class Reader>
std::shared_ptr<MachineRecord> WithMessage(const std::string& name, std::string& message,
                                           Reader reader)
{
    message.clear();
    try
    {
        return reader();
    }
    catch (const Complaint& complaint)
    {
        message = complaint.Line();
    }
    catch (const std::bad_alloc&)
    {
        throw; // says nothing about the file
    }
    catch (const std::exception& error)
    {
        message = "file: " + Printable(error.what(), 160) + "; make the file smaller";
    }
    message = Printable(name, 240) + ": " + message;
    return nullptr;
}

} // namespace

std::shared_ptr<MachineRecord> ParseMachine(const std::string& text, const std::string& name,
                                            const std::string& folder,
                                            std::vector<WatchedFile>& files, std::string& message)
{
    return WithMessage(name, message,
                       [&]
                       {
                           PageFiles pages(folder, files);
                           return ReadText(text, pages);
                       });
}

std::shared_ptr<MachineRecord> ReadMachine(const std::string& path, std::vector<WatchedFile>& files,
                                           std::string& message)
{
    return WithMessage(
        path, message,
        [&]
        {
            WatchedFile& file = files.emplace_back(WatchedFile{path, {}, false});
            std::string text;
            const std::string wrong = ReadWholeFile(file, LongestFile, text);
            if (!wrong.empty())
                throw Complaint("file", wrong,
                                file.stamp.size > LongestFile ? "make it smaller"
                                                              : "name a readable machine file");
            if (text.empty())
                throw Complaint("file", "is empty", "write a machine into it, or name another");
            PageFiles pages(FolderOf(path), files);
            return ReadText(text, pages);
        });
}

} // namespace Platform
