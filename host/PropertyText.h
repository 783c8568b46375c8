// What a property says, for people: its name in words, its value with its unit.
#pragma once

#include "contracts/zelPlug.h"

#include <cstdint>
#include <string>
#include <variant>
#include <vector>

namespace Host
{

struct ChoiceValue
{
    int value;
    std::vector<int> choices;
};

struct RangeValue
{
    int value;
    int minimum;
    int maximum;
    unsigned step;
};

using PropertyValue =
    std::variant<std::monostate, std::string, std::uint64_t, float, ChoiceValue, RangeValue>;

PropertyValue ValueOf(const PI::CProperty& property);

/// Whether the value was not read, whatever stands in its place: the plug-in hides it, or tells a
/// size of all ones.
bool IsUnknown(const PI::CProperty& property);

/// "Physical size" for PHYSICAL_SIZE, "PCI bus" for PCI_BUS.
std::string PropertyWords(PI::_PROPERTY_ID id);

/// The value as a person reads it, with its unit; "-" when there is nothing to show. Texts of a
/// drive stand in it as they are: Printable() belongs between this and a terminal.
std::string ValueText(const PI::CProperty& property);

/// As ValueText, with the short form only where there are two: "223.6 GB", "8000 h".
std::string ShortValueText(const PI::CProperty& property);

/// A size in decimal units, as labels and data sheets have it: "480 GB", "1.92 TB".
std::string DecimalSize(std::uint64_t bytes);

/// A real number as the shortest decimal that gives the same float again.
double ShortestDouble(float real);

} // namespace Host
