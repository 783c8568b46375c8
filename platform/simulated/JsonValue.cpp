#include "platform/simulated/JsonValue.h"

#include <algorithm>

namespace Platform
{

namespace
{

std::string Bytes(std::size_t count)
{
    return std::to_string(count) + (count == 1 ? " byte" : " bytes");
}

} // namespace

std::string JsonValue::Place() const
{
    if (m_Parent == nullptr)
        return "";
    const std::string parent = m_Parent->Place();
    if (m_Name == nullptr)
        return parent + "[" + std::to_string(m_Position) + "]";
    return parent.empty() ? m_Name : parent + "." + m_Name;
}

void JsonValue::Fail(const std::string& what, const std::string& remedy) const
{
    const std::string place = Place();
    throw Complaint(place.empty() ? "top level" : place, what, remedy);
}

void JsonValue::DemandObject(std::initializer_list<const char*> names) const
{
    EachMember(
        [&](const std::string& name, const JsonValue& member)
        {
            if (std::find(names.begin(), names.end(), name) != names.end())
                return;
            std::string known;
            for (const char* each : names)
                known += (known.empty() ? "" : ", ") + std::string(each);
            member.Fail("unknown member",
                        "use one of " + known + ", or begin its name with _ if it is a remark");
        });
}

JsonValue JsonValue::Member(const char* name) const&
{
    const auto found = m_Value.find(name);
    if (found == m_Value.end())
        Fail("the member \"" + std::string(name) + "\" is missing", "add it");
    return JsonValue(*found, *this, name, 0);
}

std::uint64_t JsonValue::Number(std::uint64_t lowest, std::uint64_t highest) const
{
    DemandKind(m_Value.is_number_integer() || m_Value.is_number_float(), "a whole number");
    const bool fits = m_Value.is_number_unsigned() && m_Value.get<std::uint64_t>() >= lowest &&
                      m_Value.get<std::uint64_t>() <= highest;
    if (!fits)
        Fail(Shown() + (m_Value.is_number_float() ? " is not a whole number of this range"
                                                  : " is out of range"),
             "use a number from " + std::to_string(lowest) + " to " + std::to_string(highest));
    return m_Value.get<std::uint64_t>();
}

bool JsonValue::Flag() const
{
    DemandKind(m_Value.is_boolean(), "true or false");
    return m_Value.get<bool>();
}

std::string JsonValue::Text(std::size_t limit) const
{
    DemandKind(m_Value.is_string(), "a text");
    const auto& text = m_Value.get_ref<const std::string&>();
    if (text.size() > limit)
        Fail("the text " + Shown() + " has " + Bytes(text.size()), "use at most " + Bytes(limit));
    return text;
}

std::string JsonValue::Name(std::size_t limit) const
{
    std::string text = Text(limit);
    if (text.empty())
        Fail("the text is empty", "write 1 to " + Bytes(limit));
    if (text.find('\0') != std::string::npos)
        Fail("the text " + Shown() + " holds a NUL", "take it out");
    return text;
}

void JsonValue::DemandKind(bool isKind, const char* kind) const
{
    if (!isKind)
        Fail("expected " + std::string(kind) + ", found " + Shown(),
             "write " + std::string(kind) + " here");
}

std::string JsonValue::Shown() const
{
    if (m_Value.is_object())
        return "an object";
    if (m_Value.is_array())
        return "a list";
    if (m_Value.is_string())
        return "\"" + Printable(m_Value.get_ref<const std::string&>(), 40) + "\"";
    return m_Value.dump();
}

} // namespace Platform
