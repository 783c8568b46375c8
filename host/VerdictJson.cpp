#include "host/VerdictJson.h"

#include <algorithm>

namespace Host
{

namespace
{

void WriteEntry(JsonWriter& json, const Drive& drive, const char* name,
                const std::vector<std::string>& texts)
{
    json.BeginObject();
    json.Member("label", drive.label);
    json.Member("device", TextOrNull(drive.systemName));
    json.Member("model", TextOrNull(drive.model));
    json.Member("serial", TextOrNull(drive.serial));
    json.Member("state", StateWords(drive));
    json.Member("answers", drive.IsAnswering());
    json.Member(name, texts);
    json.EndObject();
}

void WriteList(JsonWriter& json, const char* list, const std::vector<JudgedDrive>& drives,
               const char* name, std::vector<std::string> Judgement::*texts)
{
    json.Key(list);
    json.BeginArray();
    for (const JudgedDrive& judged : drives)
        WriteEntry(json, *judged.drive, name, judged.judgement.*texts);
    json.EndArray();
}

} // namespace

void WriteVerdict(JsonWriter& json, const Verdict& verdict)
{
    json.Key("verdict");
    json.BeginObject();
    json.Member("trouble", !verdict.troubled.empty() || verdict.other != nullptr);
    json.Member("text", VerdictWords(verdict));
    json.Member("otherInTrouble",
                verdict.other == nullptr ? std::nullopt : std::optional(WordOf(*verdict.other)));
    json.Member("drives", verdict.count);
    const auto silent = static_cast<std::size_t>(std::ranges::count_if(
        verdict.troubled, [](const auto& judged) { return !judged.drive->IsAnswering(); }));
    json.Member("judged", verdict.count - verdict.notJudged.size() - silent);
    WriteList(json, "inTrouble", verdict.troubled, "reasons", &Judgement::reasons);
    WriteList(json, "warnings", verdict.warned, "reasons", &Judgement::reasons);
    WriteList(json, "notJudged", verdict.notJudged, "reasons", &Judgement::reasons);
    WriteList(json, "remarks", verdict.remarked, "remarks", &Judgement::remarks);
    json.EndObject();
}

} // namespace Host
