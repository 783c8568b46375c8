#include "host/DriveJson.h"

#include "host/PropertyText.h"
#include "host/SmartNames.h"

namespace Host
{

namespace
{

const char* NameOf(Standing standing)
{
    switch (standing)
    {
    case Standing::Good:
        return "good";
    case Standing::NotJudged:
        return "notJudged";
    case Standing::Warning:
        return "warning";
    case Standing::Trouble:
        break;
    }
    return "trouble";
}

/// A reading, and the attribute that it comes from; 0: there is none.
struct Decision
{
    const char* reading;
    std::uint8_t attribute;
};

std::vector<Decision> DecisionsOf(const PI::CSmartExplanation& smart)
{
    return {{"hours", smart.m_HoursID},
            {"bytesWritten", smart.m_BytesID},
            {"enduranceUsed", smart.m_EnduranceID},
            {"reserveLeft", smart.m_ReserveID}};
}

/// Null in place of a number that stands for nothing.
std::optional<std::uint64_t> NumberOrNull(std::uint64_t number)
{
    return number == 0 ? std::nullopt : std::optional(number);
}

void WriteReadings(JsonWriter& json, const Drive& drive)
{
    constexpr std::uint64_t terabyte = 1'000'000'000'000;
    json.Member("bytes", drive.bytes);
    json.Member("bytesWritten", drive.ExactBytesWritten());
    json.Member("ratedWriteBytes", NumberOrNull(drive.ratedTerabytes * terabyte));
    json.Member("temperature", drive.temperature ? std::optional(ShortestDouble(*drive.temperature))
                                                 : std::nullopt);
    json.Member("powerOnHours", drive.hours);
    json.Member("enduranceUsedPercent", drive.used);
    json.Member("reserveLeftPercent", drive.reserve);
    json.Member("lastsUntil", TextOrNull(drive.lastsUntil));
}

void WriteSource(JsonWriter& json, const Drive& drive)
{
    json.Member("family", TextOrNull(drive.smart.m_Family));
    json.Member("readingsAgeMs", drive.hasPage ? std::optional(drive.pageAge) : std::nullopt);
    json.Key("deciding");
    json.BeginObject();
    for (const Decision& decision : DecisionsOf(drive.smart))
        json.Member(decision.reading, NumberOrNull(decision.attribute));
    json.EndObject();
    json.Member("sharesPageWith", TextOrNull(drive.sharesPageWith));
}

void WriteAttribute(JsonWriter& json, const PI::CSmartAttribute& attribute,
                    const PI::CSmartExplanation& smart)
{
    json.BeginObject();
    json.Member("id", attribute.m_ID);
    json.Member("name", TextOrNull(SmartName(attribute.m_ID)));
    json.Member("value", attribute.m_Value);
    json.Member("worst", attribute.m_Worst);
    json.Member("threshold", NumberOrNull(attribute.m_Threshold));
    json.Member("marginPercent", MarginOf(attribute));
    json.Member("raw", attribute.m_Raw);
    json.Key("decides");
    json.BeginArray();
    for (const Decision& decision : DecisionsOf(smart))
        if (decision.attribute == attribute.m_ID)
            json.Value(decision.reading);
    json.EndArray();
    json.EndObject();
}

} // namespace

void WriteDrive(JsonWriter& json, const Drive& drive, const Limits& limits)
{
    const Judgement judgement = JudgementOf(drive, limits);
    json.Key("drive");
    json.BeginObject();
    json.Member("standing", NameOf(judgement.standing));
    json.Member("state", StateWords(drive));
    json.Member("reasons", judgement.reasons);
    json.Member("remarks", judgement.remarks);
    WriteReadings(json, drive);
    WriteSource(json, drive);
    json.EndObject();
}

void WriteAttributes(JsonWriter& json, const Drive& drive)
{
    json.Key("attributes");
    json.BeginArray();
    for (const PI::CSmartAttribute& attribute : drive.smart.m_Attributes)
        WriteAttribute(json, attribute, drive.smart);
    json.EndArray();
}

} // namespace Host
