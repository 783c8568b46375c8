#include "host/Findings.h"

#include "host/Lists.h"
#include "host/Text.h"

#include <algorithm>

namespace Host
{

ExitCode ExitCodeOf(CheckStatus status)
{
    switch (status)
    {
    case CheckStatus::Ok:
        return CHECK_OK;
    case CheckStatus::Warning:
        return CHECK_WARNING;
    case CheckStatus::Critical:
        return CHECK_CRITICAL;
    default:
        return CHECK_UNKNOWN;
    }
}

const char* NameOf(CheckStatus status)
{
    switch (status)
    {
    case CheckStatus::Ok:
        return "OK";
    case CheckStatus::Warning:
        return "WARNING";
    case CheckStatus::Critical:
        return "CRITICAL";
    default:
        return "UNKNOWN";
    }
}

void Findings::Add(CheckStatus status, const std::string& text, const std::string& advice)
{
    const auto place = std::ranges::find_if(m_All, [status](const Finding& finding)
                                            { return finding.status < status; });
    m_All.insert(place, {status, text, advice});
}

std::string Findings::Advice() const
{
    std::vector<std::string> texts;
    for (const Finding& finding : m_All)
        if (finding.status == Worst() && !finding.advice.empty() &&
            std::ranges::find(texts, finding.advice) == texts.end())
            texts.push_back(finding.advice);
    return Joined(texts);
}

CheckStatus Findings::Worst() const
{
    return m_All.empty() ? CheckStatus::Ok : m_All.front().status;
}

std::string Findings::Line() const
{
    std::string text;
    for (const Finding& finding : m_All)
        text += (text.empty() ? "" : "; ") + finding.text;
    const std::string advice = Advice();
    text = Printable(text + (advice.empty() ? "" : "; " + advice));
    std::ranges::replace(text, '|', '/'); // a bar would begin the performance data
    return std::string("TARNIS ") + NameOf(Worst()) + " - " + text;
}

} // namespace Host
