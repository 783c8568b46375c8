// The whole picture for people: whether all is well first, then an overview, then every property.
#pragma once

#include "host/Topology.h"

#include <cstddef>
#include <string>

namespace Host
{

struct Style
{
    bool coloured = false;
    std::size_t columns = 120;
};

std::string ShowText(const Objects& objects, const Style& style);

/// The drives as an aligned table, a line each; empty without drives. On a narrow terminal texts
/// are cut first and the least important columns go then: the properties below have it all.
std::string DriveTable(const Objects& objects, const Style& style);

/// The left margin of a line, by which trouble is found without colours.
extern const char* const troubleMark;
extern const char* const noMark;

/// Colours a line, or a part of one, by the health of what it tells of.
std::string Emphasised(const std::string& text, const PI::CObject& object, const Style& style);

} // namespace Host
