#include "host/ShowText.h"

#include "host/Health.h"
#include "host/Names.h"
#include "host/PropertyText.h"
#include "host/Text.h"

#include <algorithm>
#include <map>
#include <set>
#include <variant>
#include <vector>

namespace
{

using Host::Health;
using Host::Objects;
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

// A few words; the number of the others where there are many.
std::string WordList(const std::vector<std::string>& words)
{
    constexpr std::size_t most = 8;
    std::string list;
    for (std::size_t i = 0; i < std::min(words.size(), most); ++i)
        list += (i == 0 ? "" : ", ") + words[i];
    if (words.size() > most)
        list += " and " + std::to_string(words.size() - most) + " more";
    return list;
}

class Report
{
  public:
    Report(const Objects& objects, const Style& style) : m_Objects(objects), m_Style(style)
    {
        for (const PI::CObject& object : objects)
            m_ById.emplace(object.m_ID, &object);
    }

    std::string Write()
    {
        Verdict();
        Heads();
        if (const std::string table = Host::DriveTable(m_Objects, m_Style); !table.empty())
            m_Text += "\n" + table;
        for (const PI::CObject& object : m_Objects)
            if (object.m_Parents.empty())
                Tree(object, 0);
        // Whatever hangs below nothing is still there.
        for (const PI::CObject& object : m_Objects)
            Tree(object, 0);
        return m_Text;
    }

  private:
    void Line(const std::string& text) { m_Text += Host::noMark + text + "\n"; }

    // A sentence with its mark, over as many lines as it takes.
    void Prose(const std::string& text)
    {
        m_Text += Host::Wrapped(text, m_Style.columns, "       ") + "\n";
    }

    void Verdict()
    {
        std::size_t drives = 0;
        std::vector<const PI::CObject*> troubled;
        std::vector<const PI::CObject*> others; // an adapter warns of its drives, as a rule
        std::vector<std::string> silent;
        std::vector<std::string> noWear;
        Health worst = Health::Good;
        for (const PI::CObject& object : m_Objects)
        {
            const bool isDrive = object.m_Type == PI::OBJECT_PHYSICAL_DRIVE;
            const Health health = Host::HealthOf(object);
            worst = std::max(worst, health);
            if (health != Health::Good)
                (isDrive ? troubled : others).push_back(&object);
            if (!isDrive)
                continue;
            ++drives;
            if (!Host::HasSmartReadings(object))
                silent.push_back(Host::WordOf(object));
            else if (Host::IsSsd(object) && !Host::HasWearReadings(object))
                noWear.push_back(Host::WordOf(object));
        }

        const std::string ofAll = std::to_string(drives) + (drives == 1 ? " drive" : " drives");
        if (!troubled.empty())
            Prose(Coloured(Host::troubleMark + std::to_string(troubled.size()) + " of " + ofAll +
                               " in trouble",
                           ColourOf(worst), m_Style));
        else if (!others.empty())
            Prose(Coloured(Host::troubleMark + Host::WordOf(*others.front()) + " in trouble: " +
                               Shown(*others.front(), PI::PROP_STATUS) + ", but none of " + ofAll,
                           ColourOf(worst), m_Style));
        else if (drives == 0)
            Line("No drive answers.");
        else
            Line(
                Coloured("No trouble: " + ofAll + ", each with a good status", boldGreen, m_Style));
        for (const PI::CObject* drive : troubled)
            Trouble(*drive);
        const std::string mark = Host::noMark;
        if (!silent.empty())
            Prose(mark + "No SMART readings, so no warning would come, from " + WordList(silent));
        if (!noWear.empty())
            Prose(mark + "No wear readings, so no wear warning would come, from " +
                  WordList(noWear));
    }

    void Trouble(const PI::CObject& drive)
    {
        Prose(Host::Emphasised(Host::troubleMark + Host::WordOf(drive) + "  " +
                                   Shown(drive, PI::PROP_STATUS),
                               drive, m_Style) +
              "  " + ShownName(drive) + ", serial " + Shown(drive, PI::PROP_SERIAL_NUMBER));
        Prose(Host::noMark + ("  " + Host::Printable(Host::ReasonOf(drive))));
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
        Line(indent + Coloured(Host::WordOf(object) + "  " + ShownName(object), bold, m_Style));
        Line(indent + "  " + Host::PadRight("Object id", labelColumns) + Host::IdText(object.m_ID) +
             ", change count " + std::to_string(object.m_ChangeCount));
        for (const PI::CProperty& property : object.m_Properties)
            Property(object, property, indent + "  ");
        std::vector<std::string> operations;
        for (const PI::COperation& operation : object.m_Operations)
            operations.push_back(Host::NameOrNumber(Vocabulary::operationNames(), operation.m_ID));
        if (!operations.empty())
            Line(indent + "  " + Host::PadRight("Operations", labelColumns) + WordList(operations));
    }

    void Property(const PI::CObject& object, const PI::CProperty& property,
                  const std::string& indent)
    {
        std::string value = Host::Printable(Host::ValueText(property));
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
        const bool trouble =
            property.m_ID == PI::PROP_STATUS && Host::HealthOf(object) != Health::Good;
        const std::string line =
            indent + Host::PadRight(Host::PropertyWords(property.m_ID), labelColumns) + value;
        if (trouble)
            m_Text += Host::Emphasised(Host::troubleMark + line, object, m_Style) + "\n";
        else
            Line(line);
    }

    static constexpr std::size_t labelColumns = 26;

    const Objects& m_Objects;
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

std::string ShowText(const Objects& objects, const Style& style)
{
    return Report(objects, style).Write();
}

std::string Emphasised(const std::string& text, const PI::CObject& object, const Style& style)
{
    const Health health = HealthOf(object);
    return health == Health::Good ? text : Coloured(text, ColourOf(health), style);
}

} // namespace Host
