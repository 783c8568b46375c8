#include "host/Topology.h"

#include "host/PropertyText.h"

#include <algorithm>
#include <cstddef>
#include <cstdio>
#include <unordered_map>
#include <utility>
#include <variant>

namespace Host
{

const PI::CProperty* FindProperty(const PI::CObject& object, PI::_PROPERTY_ID id)
{
    const auto& properties = object.m_Properties;
    const auto found = std::find_if(properties.begin(), properties.end(),
                                    [id](const PI::CProperty& p) { return p.m_ID == id; });
    return found == properties.end() ? nullptr : &*found;
}

std::optional<int> ChoiceOf(const PI::CObject& object, PI::_PROPERTY_ID id)
{
    const PI::CProperty* property = FindProperty(object, id);
    if (property == nullptr)
        return std::nullopt;
    const PropertyValue value = ValueOf(*property);
    const auto* choice = std::get_if<ChoiceValue>(&value);
    return choice == nullptr ? std::nullopt : std::optional<int>(choice->value);
}

std::string WordOf(const PI::CObject& object)
{
    switch (object.m_Type)
    {
    case PI::OBJECT_PLUGIN:
        return "plugin";
    case PI::OBJECT_ADAPTER:
        return "adapter";
    case PI::OBJECT_PHYSICAL_DRIVE:
        if (const auto* number = FindProperty(object, PI::PROP_DEVICE_NUMBER))
            return "disk" + ValueText(*number);
        return "disk";
    case PI::OBJECT_UNDEFINED:
        break;
    }
    return "object";
}

Objects InOrderOfDisks(Objects objects)
{
    // disk9 before disk10
    const auto keyOf = [](const PI::CObject& object)
    {
        const std::string word =
            object.m_Type == PI::OBJECT_PHYSICAL_DRIVE ? WordOf(object) : std::string();
        return std::make_pair(word.size(), word);
    };
    std::stable_sort(objects.begin(), objects.end(),
                     [&](const PI::CObject& one, const PI::CObject& other)
                     { return keyOf(one) < keyOf(other); });
    std::unordered_map<std::uint64_t, std::size_t> positions;
    for (const PI::CObject& object : objects)
        positions.emplace(object.m_ID, positions.size());
    for (PI::CObject& object : objects)
        std::stable_sort(object.m_Children.begin(), object.m_Children.end(),
                         [&](std::uint64_t one, std::uint64_t other)
                         { return positions[one] < positions[other]; });
    return objects;
}

std::string IdText(std::uint64_t id)
{
    char text[19];
    std::snprintf(text, sizeof text, "0x%016llx", static_cast<unsigned long long>(id));
    return text;
}

} // namespace Host
