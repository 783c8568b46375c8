#include "host/SnapshotJson.h"

#include "contracts/zelKit/Time.h"
#include "host/ChangeText.h"
#include "host/DriveJson.h"
#include "host/Names.h"
#include "host/PropertyJson.h"
#include "host/VerdictJson.h"

#include <unordered_map>

namespace Host
{

namespace
{

void WriteIds(JsonWriter& json, const char* name, const std::vector<std::uint64_t>& ids)
{
    json.Key(name);
    json.BeginArray();
    for (const std::uint64_t id : ids)
        json.Value(IdText(id));
    json.EndArray();
}

void WriteProperties(JsonWriter& json, const PI::CObject& object, const Drive* drive)
{
    json.Key("properties");
    json.BeginArray();
    for (const PI::CProperty& property : object.m_Properties)
    {
        json.BeginObject();
        WritePropertyMembers(json, property, drive);
        json.EndObject();
    }
    json.EndArray();
}

void WriteOperations(JsonWriter& json, const PI::CObject& object)
{
    json.Key("operations");
    json.BeginArray();
    for (const PI::COperation& operation : object.m_Operations)
        json.Value(static_cast<int>(operation.m_ID));
    json.EndArray();
}

/// @param drive  null for an object that is none
void WriteObject(JsonWriter& json, const PI::CObject& object, const Drive* drive,
                 bool hasAttributes, const Limits& limits)
{
    json.BeginObject();
    json.Member("id", IdText(object.m_ID));
    json.Member("label", WordOf(object));
    json.Member("device", TextOrNull(drive == nullptr ? "" : drive->systemName));
    json.Member("type", static_cast<int>(object.m_Type));
    json.Member("typeName", NameOrNumber(Vocabulary::objectTypeNames(), object.m_Type));
    WriteIds(json, "parents", object.m_Parents);
    WriteIds(json, "children", object.m_Children);
    json.Member("changeCount", object.m_ChangeCount);
    WriteProperties(json, object, drive);
    WriteOperations(json, object);
    if (drive != nullptr)
        WriteDrive(json, *drive, limits);
    if (drive != nullptr && hasAttributes)
        WriteAttributes(json, *drive);
    json.EndObject();
}

void WriteSilentDrives(JsonWriter& json, const std::vector<Drive>& drives)
{
    json.Key("silent");
    json.BeginArray();
    for (const Drive& drive : drives)
    {
        if (drive.IsAnswering())
            continue;
        json.BeginObject();
        json.Member("label", drive.label);
        json.Member("device", TextOrNull(drive.systemName));
        json.Member("reason", drive.silence);
        json.EndObject();
    }
    json.EndArray();
}

void WriteHead(JsonWriter& json, const Snapshot& snapshot, const Limits& limits)
{
    const std::uint64_t now = ZKT::Misc::now();
    json.Member("time", IsoTime(now));
    json.Member("timeMs", now);
    WriteVerdict(json, VerdictOf(snapshot.objects, snapshot.drives, limits));
    WriteSilentDrives(json, snapshot.drives);
}

} // namespace

void WriteSnapshot(JsonWriter& json, const Snapshot& snapshot,
                   const std::vector<const PI::CObject*>& objects, bool hasAttributes,
                   const Limits& limits)
{
    std::unordered_map<const PI::CObject*, const Drive*> driveOf;
    for (const Drive& drive : snapshot.drives)
        driveOf.emplace(drive.object, &drive);
    json.BeginDocument();
    WriteHead(json, snapshot, limits);
    json.Key("objects");
    json.BeginArray();
    for (const PI::CObject* object : objects)
    {
        const auto drive = driveOf.find(object);
        WriteObject(json, *object, drive == driveOf.end() ? nullptr : drive->second, hasAttributes,
                    limits);
    }
    json.EndArray();
    json.EndObject();
    json.Finish();
}

} // namespace Host
