#include "host/Verdict.h"

#include "host/Lists.h"
#include "host/Text.h"

#include <algorithm>

namespace Host
{

namespace
{

std::string Counted(std::size_t drives)
{
    return std::to_string(drives) + (drives == 1 ? " drive" : " drives");
}

const PI::CObject* OtherInTrouble(const Objects& objects)
{
    const auto found = std::find_if(objects.begin(), objects.end(),
                                    [](const PI::CObject& object) {
                                        return object.m_Type != PI::OBJECT_PHYSICAL_DRIVE &&
                                               HealthOf(object) != Health::Good;
                                    });
    return found == objects.end() ? nullptr : &*found;
}

} // namespace

Verdict VerdictOf(const Objects& objects, const std::vector<Drive>& drives, const Limits& limits)
{
    Verdict verdict;
    verdict.count = drives.size();
    for (const Drive& drive : drives)
    {
        const JudgedDrive judged{&drive, JudgementOf(drive, limits)};
        if (!judged.judgement.remarks.empty())
            verdict.remarked.push_back(judged);
        switch (judged.judgement.standing)
        {
        case Standing::Trouble:
            verdict.troubled.push_back(judged);
            break;
        case Standing::Warning:
            verdict.warned.push_back(judged);
            break;
        case Standing::NotJudged:
            verdict.notJudged.push_back(judged);
            break;
        case Standing::Good:
            break;
        }
    }
    if (verdict.troubled.empty()) // an adapter warns of its drives, as a rule
        verdict.other = OtherInTrouble(objects);
    return verdict;
}

std::string VerdictWords(const Verdict& verdict)
{
    if (!verdict.troubled.empty())
        return std::to_string(verdict.troubled.size()) + " of " + Counted(verdict.count) +
               " in trouble";
    if (verdict.other != nullptr)
        return WordOf(*verdict.other) + " in trouble, but none of " + Counted(verdict.count);
    if (verdict.count == 0)
        return "No drive answers";
    const std::size_t judged = verdict.count - verdict.notJudged.size();
    if (judged == 0)
        return "No drive can be judged, of " + Counted(verdict.count);
    return "No trouble: " + Counted(judged) + " judged" +
           (verdict.notJudged.empty() ? ""
                                      : ", " + std::to_string(verdict.notJudged.size()) + " not");
}

std::string DriveReasons(const JudgedDrive& judged)
{
    return Printable(NameOf(*judged.drive) + ": " + Joined(judged.judgement.reasons));
}

std::string DriveNames(const std::vector<JudgedDrive>& drives)
{
    std::vector<std::string> names;
    for (const JudgedDrive& judged : drives)
        names.push_back(Printable(NameOf(*judged.drive)));
    return Shortened(names);
}

} // namespace Host
