// The picture for programs.
#pragma once

#include "host/Health.h"
#include "host/JsonWriter.h"
#include "host/Snapshot.h"

#include <vector>

namespace Host
{

/// The verdict, the silent drives, and the objects in full.
/// @param objects         of the snapshot, those to be written
/// @param hasAttributes  whether drives come with the attributes of their SMART pages
void WriteSnapshot(JsonWriter& json, const Snapshot& snapshot,
                   const std::vector<const PI::CObject*>& objects, bool hasAttributes,
                   const Limits& limits);

} // namespace Host
