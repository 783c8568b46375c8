#include "host/FindingsJson.h"

#include "host/VerdictJson.h"

namespace Host
{

void WriteFindings(JsonWriter& json, const Findings& findings, const Verdict* verdict)
{
    json.BeginDocument();
    json.Member("status", NameOf(findings.Worst()));
    json.Member("exitCode", static_cast<int>(ExitCodeOf(findings.Worst())));
    json.Member("text", findings.Line());
    json.Key("findings");
    json.BeginArray();
    for (const Finding& finding : findings.All())
    {
        json.BeginObject();
        json.Member("status", NameOf(finding.status));
        json.Member("text", finding.text);
        json.EndObject();
    }
    json.EndArray();
    json.Member("advice", TextOrNull(findings.Advice()));
    if (verdict != nullptr)
        WriteVerdict(json, *verdict);
    else
        json.Member("verdict", nullptr);
    json.EndObject();
    json.Finish();
}

} // namespace Host
