#include "host/PropertyJson.h"

#include "host/Health.h"
#include "host/Names.h"
#include "host/PropertyText.h"

#include <cmath>
#include <limits>
#include <variant>

namespace Host
{

namespace
{

/// Writes the value, null for one that is not known, and what else its form knows.
struct WriteValue
{
    JsonWriter& json;
    const bool isUnknown;

    void operator()(std::monostate) const { json.Member("value", nullptr); }
    void operator()(const std::string& text) const { Put(text); }
    void operator()(std::uint64_t number) const { Put(number); }
    void operator()(float real) const { Put(ShortestDouble(real)); }
    void operator()(const ChoiceValue& choice) const
    {
        Put(choice.value);
        json.Key("choices");
        json.BeginArray();
        for (const int value : choice.choices)
        {
            json.BeginObject();
            json.Member("value", value);
            json.Member("name", NameOrNumber(Vocabulary::valueNames(), value));
            json.EndObject();
        }
        json.EndArray();
    }
    void operator()(const RangeValue& range) const
    {
        Put(range.value);
        json.Member("minimum", range.minimum);
        json.Member("maximum", range.maximum);
        json.Member("step", range.step);
    }

  private:
    template <typename Type> void Put(const Type& value) const
    {
        json.Key("value");
        isUnknown ? json.Value(nullptr) : json.Value(value);
    }
};

std::optional<std::string> UnitName(PI::_UNITS unit)
{
    const auto row = Vocabulary::unitNames().find(unit);
    return row == Vocabulary::unitNames().end() || unit == PI::UNIT_NONE
               ? std::nullopt
               : std::optional(row->second);
}

/// Bytes of one of the unit, as a power of two; 0: it is no unit of sizes.
int ByteBits(PI::_UNITS unit)
{
    switch (unit)
    {
    case PI::UNIT_KILOBYTES:
        return 10;
    case PI::UNIT_MEGABYTES:
        return 20;
    case PI::UNIT_GIGABYTES:
        return 30;
    case PI::UNIT_TERABYTES:
        return 40;
    default:
        return 0;
    }
}

std::optional<std::uint64_t> RoundedBytes(const PropertyValue& value, int bits)
{
    double size = -1;
    if (const auto* number = std::get_if<std::uint64_t>(&value))
        size = static_cast<double>(*number);
    else if (const auto* real = std::get_if<float>(&value))
        size = static_cast<double>(*real);
    size = std::ldexp(size, bits);
    const bool fits = size >= 0 && size < std::ldexp(1.0, 64);
    return fits ? std::optional(static_cast<std::uint64_t>(size)) : std::nullopt;
}

/// The drive's own count, where the property is its rounded form.
std::optional<std::uint64_t> ExactBytes(const PI::CProperty& property, const PropertyValue& value,
                                        const Drive& drive)
{
    if (property.m_ID == PI::PROP_BYTES_WRITTEN)
        return drive.ExactBytesWritten();
    const auto* megabytes = std::get_if<std::uint64_t>(&value);
    const bool isOfDrive = property.m_Unit == PI::UNIT_MEGABYTES && megabytes != nullptr &&
                           drive.bytes && *drive.bytes >> 20 == *megabytes;
    return isOfDrive ? drive.bytes : std::nullopt;
}

void WriteSize(JsonWriter& json, const PI::CProperty& property, const PropertyValue& value,
               const Drive* drive)
{
    std::optional<std::uint64_t> exact;
    std::optional<std::uint64_t> rounded;
    if (!IsUnknown(property))
    {
        rounded = RoundedBytes(value, ByteBits(property.m_Unit));
        if (drive != nullptr)
            exact = ExactBytes(property, value, *drive);
    }
    const std::optional<std::uint64_t> best = exact ? exact : rounded;
    json.Member("decimal", best ? std::optional(DecimalSize(*best)) : std::nullopt);
    json.Member("bytes", exact);
}

} // namespace

void WriteProperty(JsonWriter& json, const PI::CProperty& property, const Drive* drive)
{
    json.BeginDocument();
    WritePropertyMembers(json, property, drive);
    json.EndObject();
}

void WritePropertyMembers(JsonWriter& json, const PI::CProperty& property, const Drive* drive)
{
    const PropertyValue value = ValueOf(property);
    json.Member("id", static_cast<int>(property.m_ID));
    json.Member("name", NameOrNumber(Vocabulary::propertyNames(), property.m_ID));
    std::visit(WriteValue{json, IsUnknown(property)}, value);
    json.Member("text", ValueText(property));
    if (const auto* choice = std::get_if<ChoiceValue>(&value);
        choice && property.m_ID == PI::PROP_STATUS)
        json.Member("words", TextOrNull(StatusWords(choice->value)));
    json.Member("unit", static_cast<int>(property.m_Unit));
    json.Member("unitName", UnitName(property.m_Unit));
    if (property.m_ID == PI::PROP_BYTES_WRITTEN || ByteBits(property.m_Unit) != 0)
        WriteSize(json, property, value, drive);
    json.Member("viewMask", property.m_ViewMask);
    json.Member("textId", property.m_TextID);
    json.Member("iconId", property.m_IconID);
    json.Member("aliasId", property.m_AliasID);
    json.Member("valueFormat", property.m_ValueFormat);
    json.Member("settable", property.IsSettable());
}

} // namespace Host
