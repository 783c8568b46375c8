#include "host/ShowText.h"

#include "host/AttributeTable.h"
#include "host/Health.h"
#include "host/Lifetime.h"
#include "host/Lists.h"
#include "host/Names.h"
#include "host/PropertyText.h"
#include "host/Text.h"
#include "host/Verdict.h"

#include <algorithm>
#include <iterator>
#include <map>
#include <set>
#include <variant>
#include <vector>

namespace
{

using Host::Drive;
using Host::Health;
using Host::Limits;
using Host::Objects;
using Host::Snapshot;
using Host::Style;

constexpr const char* bold = "\x1b[1m";
constexpr const char* boldGreen = "\x1b[1;32m";
constexpr const char* boldYellow = "\x1b[1;33m";
constexpr const char* boldRed = "\x1b[1;31m";
constexpr const char* plain = "\x1b[0m";

std::string Coloured(const std::string& text, const char* colour, const Style& style)
{
    return style.coloured ? colour + text + plain : text;
}

const char* ColourOf(Health health)
{
    return health == Health::Failed ? boldRed : boldYellow;
}

// The printable text of a property, "-" when the object has none or an empty one.
std::string Shown(const PI::CObject& object, PI::_PROPERTY_ID id)
{
    const PI::CProperty* property = Host::FindProperty(object, id);
    const std::string text = property == nullptr ? "" : Host::ValueText(*property);
    return text.empty() ? "-" : Host::Printable(text);
}

// As above, without the blank that a name begins with when its vendor is missing.
std::string ShownName(const PI::CObject& object)
{
    const std::string name = Host::WithoutLeadingBlanks(Shown(object, PI::PROP_NAME));
    return name.empty() ? "-" : name;
}

const char* ReasonLabel(Host::Standing standing)
{
    switch (standing)
    {
    case Host::Standing::Warning:
        return "Warning";
    case Host::Standing::NotJudged:
        return "Not judged";
    default:
        return "Reason";
    }
}

class Report
{
  public:
    Report(const Snapshot& snapshot, const Limits& limits, const Style& style)
        : m_Objects(snapshot.objects), m_Drives(snapshot.drives), m_Limits(limits), m_Style(style)
    {
        for (const PI::CObject& object : m_Objects)
            m_ById.emplace(object.m_ID, &object);
    }

    std::string WriteOverview()
    {
        WriteVerdict();
        Heads();
        if (const std::string table = Host::DriveTable(m_Drives, m_Limits, m_Style); !table.empty())
            m_Text += "\n" + table;
        return m_Text;
    }

    std::string WriteAll()
    {
        WriteOverview();
        for (const PI::CObject& object : m_Objects)
            if (object.m_Parents.empty())
                Tree(object, 0);
        // Whatever hangs below nothing is still there.
        for (const PI::CObject& object : m_Objects)
            Tree(object, 0);
        return m_Text;
    }

    std::string WriteObject(const PI::CObject& object)
    {
        Details(object, "");
        return m_Text;
    }

    std::string WriteSilentDrive(const Drive& drive)
    {
        m_Text += "\n";
        Prose(Host::noMark +
              Coloured(Host::Printable(NameOf(drive)) + "  does not answer", bold, m_Style));
        Labelled("  ", drive.mayBeWell ? "Not judged" : "Reason", Host::Printable(drive.silence));
        return m_Text;
    }

  private:
    // A sentence with its mark, over as many lines as it takes.
    void Prose(const std::string& text)
    {
        m_Text += Host::Wrapped(text, m_Style.columns, "       ") + "\n";
    }

    // A value behind its label. What does not fit goes on below the value, on a narrow terminal
    // below the label.
    void Labelled(const std::string& indent, const std::string& label, const std::string& value)
    {
        m_Text += LabelledText(Host::noMark + indent, label, value) + "\n";
    }

    std::string LabelledText(const std::string& indent, const std::string& label,
                             const std::string& value) const
    {
        constexpr std::size_t leastRoom = 20;
        const std::size_t start = indent.size() + labelColumns;
        const std::string line = indent + Host::PadRight(label, labelColumns) + value;
        if (m_Style.columns >= start + leastRoom || Host::DisplayWidth(line) <= m_Style.columns)
            return Host::Wrapped(line, m_Style.columns, std::string(start, ' '));
        const std::string below = indent + "    ";
        return indent + label + "\n" + Host::Wrapped(below + value, m_Style.columns, below);
    }

    void WriteVerdict()
    {
        const Host::Verdict verdict = Host::VerdictOf(m_Objects, m_Drives, m_Limits);
        const std::string words = Host::VerdictWords(verdict);
        if (!verdict.troubled.empty())
        {
            Health worst = Health::Warning;
            for (const Host::JudgedDrive& judged : verdict.troubled)
                if (judged.drive->object != nullptr)
                    worst = std::max(worst, Host::HealthOf(*judged.drive->object));
            Prose(Coloured(Host::troubleMark + words, ColourOf(worst), m_Style));
        }
        else if (verdict.other != nullptr)
            Prose(Coloured(Host::troubleMark + words, boldYellow, m_Style));
        else if (verdict.count == verdict.notJudged.size())
            Prose(Host::noMark + words);
        else
            Prose(Host::noMark + Coloured(words, boldGreen, m_Style));
        for (const Host::JudgedDrive& judged : verdict.troubled)
            Trouble(judged);
        for (const Host::JudgedDrive& judged : verdict.warned)
            Prose(Host::noMark + ("Warning, " + Host::DriveReasons(judged)));
        Notes(verdict.remarked);
        NotJudged(verdict.notJudged);
    }

    void Trouble(const Host::JudgedDrive& judged)
    {
        const Drive& drive = *judged.drive;
        const std::string state =
            drive.IsAnswering() ? Host::StateWords(drive) : std::string("does not answer");
        std::string line = Host::troubleMark + Host::Printable(NameOf(drive)) + "  " + state;
        if (drive.object != nullptr)
            line = Host::Emphasised(line, *drive.object, m_Style) + "  " +
                   Host::Printable(drive.model) + ", serial " + Host::Printable(drive.serial);
        Prose(line);
        Prose(Host::noMark + ("  " + Host::Printable(Host::Joined(judged.judgement.reasons))));
    }

    // A line for each drive, but one alone for all that share SMART pages: there may be hundreds.
    void Notes(const std::vector<Host::JudgedDrive>& drives)
    {
        std::vector<Host::JudgedDrive> sharing;
        std::ranges::copy_if(drives, std::back_inserter(sharing),
                             [](const Host::JudgedDrive& judged)
                             { return !judged.drive->sharesPageWith.empty(); });
        const bool areMany = sharing.size() > 1;
        for (const Host::JudgedDrive& judged : drives)
        {
            std::vector<std::string> remarks = judged.judgement.remarks;
            if (areMany)
                std::erase(remarks, Host::SharedPageRemark(judged.drive->sharesPageWith));
            if (!remarks.empty())
                Note({judged}, Host::Joined(remarks));
        }
        if (areMany)
            Note(sharing, Host::SharedPageRemark("another drive"));
    }

    void Note(const std::vector<Host::JudgedDrive>& drives, const std::string& text)
    {
        Prose(Host::noMark + ("Note, " + Host::DriveNames(drives) + ": " + text));
    }

    // A line for each reason, which many drives may share.
    void NotJudged(const std::vector<Host::JudgedDrive>& drives)
    {
        std::map<std::string, std::vector<Host::JudgedDrive>> byReason;
        for (const Host::JudgedDrive& judged : drives)
            byReason[Host::Joined(judged.judgement.reasons)].push_back(judged);
        for (const auto& [reason, those] : byReason)
            Prose(Host::noMark + ("Not judged, so no warning would come: " +
                                  Host::DriveNames(those) + " (" + Host::Printable(reason) + ')'));
    }

    void Heads()
    {
        m_Text += "\n";
        for (const PI::CObject& object : m_Objects)
        {
            if (object.m_Type == PI::OBJECT_PLUGIN)
                Prose(Host::noMark + ("Plug-in  " + ShownName(object) + " ") +
                      Shown(object, PI::PROP_VERSION) + ", " + Shown(object, PI::PROP_VENDOR) +
                      ", poll interval " + Shown(object, PI::PROP_POLL_INTERVAL));
            else if (object.m_Type == PI::OBJECT_ADAPTER)
                Adapter(object);
        }
    }

    void Adapter(const PI::CObject& adapter)
    {
        const bool good = Host::HealthOf(adapter) == Health::Good;
        const std::string version = Shown(adapter, PI::PROP_DRIVER_VERSION);
        Prose((good ? Host::noMark : Host::troubleMark) + ("Adapter  " + ShownName(adapter)) +
              ", " + Host::Emphasised(Shown(adapter, PI::PROP_STATUS), adapter, m_Style) +
              ", driver " + Shown(adapter, PI::PROP_DRIVER_NAME) +
              (version == "-" ? "" : " " + version));
    }

    void Tree(const PI::CObject& object, std::size_t depth)
    {
        // Links come from the plug-in; a ring in them must not become one here.
        if (!m_Written.insert(object.m_ID).second)
            return;
        Details(object, std::string(2 * depth, ' '));
        for (const std::uint64_t child : object.m_Children)
            if (const auto found = m_ById.find(child); found != m_ById.end())
                Tree(*found->second, depth + 1);
    }

    void Details(const PI::CObject& object, const std::string& indent)
    {
        m_Text += "\n";
        m_Text += Host::Wrapped(
                      Host::noMark + indent +
                          Coloured(Host::WordOf(object) + "  " + ShownName(object), bold, m_Style),
                      m_Style.columns, Host::noMark + indent + "    ") +
                  "\n";
        Labelled(indent + "  ", "Object id",
                 Host::IdText(object.m_ID) + ", change count " +
                     std::to_string(object.m_ChangeCount));
        for (const PI::CProperty& property : object.m_Properties)
            Property(object, property, indent + "  ");
        std::string operations;
        for (const PI::COperation& operation : object.m_Operations)
            operations += (operations.empty() ? "" : ", ") +
                          Host::NameOrNumber(Vocabulary::operationNames(), operation.m_ID);
        if (!operations.empty())
            Labelled(indent + "  ", "Operations", operations);
        for (const Drive& drive : m_Drives)
            if (drive.object == &object)
                Besides(drive, indent + "  ");
    }

    // What the machine knows of the drive besides the properties.
    void Besides(const Drive& drive, const std::string& indent)
    {
        const auto line = [&](const char* label, const std::string& value)
        { Labelled(indent, label, value); };
        const Host::Judgement judgement = Host::JudgementOf(drive, m_Limits);
        if (!drive.systemName.empty())
            line("System name", Host::Printable(drive.systemName));
        if (drive.bytes)
            line("Exact size", std::to_string(*drive.bytes) + " bytes");
        if (drive.bytesWritten)
            line("Exact bytes written", std::to_string(*drive.bytesWritten) + " bytes");
        if (drive.ratedTerabytes != 0)
            line("Rated writes", std::to_string(drive.ratedTerabytes) + " TB");
        for (const std::string& reason : judgement.reasons)
            line(ReasonLabel(judgement.standing), Host::Printable(reason));
        for (const std::string& remark : judgement.remarks)
            line("Note", remark);
        if (!drive.hasPage)
            return;
        line("Drive family", drive.smart.m_Family);
        line("SMART page", "read " + std::to_string(drive.pageAge / 1000) + " s ago");
        m_Text += Host::AttributeTable(drive, Host::noMark + indent, m_Style);
    }

    void Property(const PI::CObject& object, const PI::CProperty& property,
                  const std::string& indent)
    {
        std::string value = Host::Printable(Legible(object, property));
        if (value.empty())
            value = "-";
        if (property.IsSettable())
        {
            const Host::PropertyValue held = Host::ValueOf(property);
            const auto* range = std::get_if<Host::RangeValue>(&held);
            value += range == nullptr ? "  (can be set)"
                                      : "  (can be set, " + std::to_string(range->minimum) +
                                            " to " + std::to_string(range->maximum) + ")";
        }
        if (property.m_ID == PI::PROP_STATUS)
            if (const auto status = Host::ChoiceOf(object, PI::PROP_STATUS))
                if (const std::string words = Host::StatusWords(*status); !words.empty())
                    value += "  (" + words + ')';
        const bool trouble =
            property.m_ID == PI::PROP_STATUS && Host::HealthOf(object) != Health::Good;
        const std::string text = LabelledText((trouble ? Host::troubleMark : Host::noMark) + indent,
                                              Host::PropertyWords(property.m_ID), value);
        m_Text += (trouble ? Host::Emphasised(text, object, m_Style) : text) + "\n";
    }

    // Sizes are decimal here, as on labels and data sheets, and an end that is far off is no date.
    std::string Legible(const PI::CObject& object, const PI::CProperty& property) const
    {
        const Host::PropertyValue held = Host::ValueOf(property);
        const auto* megabytes = std::get_if<std::uint64_t>(&held);
        if (property.m_Unit == PI::UNIT_MEGABYTES && megabytes != nullptr && *megabytes >> 44 == 0)
            return Host::DecimalSize(*megabytes << 20);
        if (property.m_ID == PI::PROP_BYTES_WRITTEN)
            for (const Drive& drive : m_Drives)
                if (drive.object == &object && drive.bytesWritten)
                    return Host::DecimalSize(*drive.bytesWritten);
        if (const auto* date = std::get_if<std::string>(&held);
            date != nullptr && property.m_ID == PI::PROP_ESTIMATED_LIFETIME &&
            Host::IsFarOff(*date))
            return Host::farOff + (" (" + *date + ')');
        return Host::ValueText(property);
    }

    static constexpr std::size_t labelColumns = 26;

    const Objects& m_Objects;
    const std::vector<Drive>& m_Drives;
    const Limits m_Limits;
    const Style& m_Style;
    std::map<std::uint64_t, const PI::CObject*> m_ById;
    std::set<std::uint64_t> m_Written;
    std::string m_Text;
};

} // namespace

namespace Host
{

const char* const troubleMark = "!! ";
const char* const noMark = "   ";

std::string OverviewText(const Snapshot& snapshot, const Limits& limits, const Style& style)
{
    return Report(snapshot, limits, style).WriteOverview();
}

std::string FullText(const Snapshot& snapshot, const Limits& limits, const Style& style)
{
    return Report(snapshot, limits, style).WriteAll();
}

std::string ObjectText(const PI::CObject& object, const Snapshot& snapshot, const Limits& limits,
                       const Style& style)
{
    return Report(snapshot, limits, style).WriteObject(object);
}

std::string SilentDriveText(const Drive& drive, const Snapshot& snapshot, const Limits& limits,
                            const Style& style)
{
    return Report(snapshot, limits, style).WriteSilentDrive(drive);
}

std::string Emphasised(const std::string& text, const PI::CObject& object, const Style& style)
{
    const Health health = HealthOf(object);
    return health == Health::Good ? text : Coloured(text, ColourOf(health), style);
}

} // namespace Host
