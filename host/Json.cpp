#include "host/Json.h"

#include "host/MemoryReserve.h"
#include "host/Names.h"
#include "host/PropertyText.h"

#include <cstddef>
#include <cstdint>
#include <variant>
#include <vector>

namespace
{

using Host::Json;

// Writes the value and what else its form knows.
struct AddValue
{
    Json& json;

    void operator()(std::monostate) const { json["value"] = nullptr; }
    void operator()(const std::string& text) const { json["value"] = text; }
    void operator()(std::uint64_t number) const { json["value"] = number; }
    void operator()(float real) const { json["value"] = Host::ShortestDouble(real); }
    void operator()(const Host::ChoiceValue& choice) const
    {
        json["value"] = choice.value;
        Json choices = Json::array();
        for (const int value : choice.choices)
        {
            const std::string name = Host::NameOrNumber(Vocabulary::valueNames(), value);
            choices.push_back({{"value", value}, {"name", name}});
        }
        json["choices"] = choices;
    }
    void operator()(const Host::RangeValue& range) const
    {
        json["value"] = range.value;
        json["minimum"] = range.minimum;
        json["maximum"] = range.maximum;
        json["step"] = range.step;
    }
};

Json IdsJson(const std::vector<std::uint64_t>& ids)
{
    Json json = Json::array();
    for (const std::uint64_t id : ids)
        json.push_back(Host::IdText(id));
    return json;
}

Json ObjectJson(const PI::CObject& object)
{
    Json json;
    json["id"] = Host::IdText(object.m_ID);
    json["type"] = static_cast<int>(object.m_Type);
    json["parents"] = IdsJson(object.m_Parents);
    json["children"] = IdsJson(object.m_Children);
    json["changeCount"] = object.m_ChangeCount;
    json["properties"] = Json::array();
    for (const PI::CProperty& property : object.m_Properties)
        json["properties"].push_back(Host::PropertyJson(property));
    json["operations"] = Json::array();
    for (const PI::COperation& operation : object.m_Operations)
        json["operations"].push_back(static_cast<int>(operation.m_ID));
    return json;
}

// In ASCII, because the output may well end on a terminal: a drive's text then cannot hold a
// control character in any disguise.
std::string Dump(const Json& json, int indent = 2)
{
    return json.dump(indent, ' ', true, Json::error_handler_t::replace);
}

} // namespace

namespace Host
{

Json PropertyJson(const PI::CProperty& property)
{
    Json json;
    json["id"] = static_cast<int>(property.m_ID);
    json["name"] = NameOrNumber(Vocabulary::propertyNames(), property.m_ID);
    std::visit(AddValue{json}, ValueOf(property));
    json["text"] = ValueText(property);
    json["unit"] = static_cast<int>(property.m_Unit);
    json["viewMask"] = property.m_ViewMask;
    json["textId"] = property.m_TextID;
    json["iconId"] = property.m_IconID;
    json["aliasId"] = property.m_AliasID;
    json["valueFormat"] = property.m_ValueFormat;
    json["settable"] = property.IsSettable();
    return json;
}

std::string JsonText(const Json& json)
{
    return Dump(json) + "\n";
}

std::string JsonLine(const Json& json)
{
    constexpr int onOneLine = -1;
    return Dump(json, onOneLine);
}

void WriteTopologyJson(const Objects& objects, const std::function<void(std::string_view)>& write)
{
    constexpr std::size_t piece = 65536;
    std::string text = "{\n  \"objects\": [";
    const char* separator = "\n    ";
    for (const PI::CObject& object : objects)
    {
        CheckMemoryReserve(); // a JSON value needs memory where it ends, too
        text += separator;
        for (const char c : Dump(ObjectJson(object)))
        {
            text += c;
            if (c == '\n')
                text += "    ";
        }
        separator = ",\n    ";
        if (text.size() >= piece)
        {
            write(text);
            text.clear();
        }
    }
    write(text + (objects.empty() ? "]\n}\n" : "\n  ]\n}\n"));
}

} // namespace Host
