// The numbers that host and plug-ins share, as enumerations made from the rows in rows/.
//
// Bands: result codes from 20000, events from 10000, properties from 30000, parameter names from
// 35000, values from 40000, operations from 50000, object types from 19000, units from 21000.
#pragma once

#include <cstdint>

namespace PI
{

/// Result of every command. 0 is success.
enum _ERROR_CODE : std::int32_t
{
#define VOCABULARY_ROW(number, name) ERR_##name = number,
#include "vocabulary/rows/errors.inc"
#undef VOCABULARY_ROW
};

/// What an object can be asked to do.
enum _OPERATION_ID : std::int32_t
{
#define VOCABULARY_ROW(number, name) OP_##name = number,
#define VOCABULARY_REPEAT(number, name)
#include "vocabulary/rows/operations.inc"
#undef VOCABULARY_REPEAT
#undef VOCABULARY_ROW
};

/// What an object can tell. `PARAM_` enumerators name parameters of the host's command language.
enum _PROPERTY_ID : std::int32_t
{
#define VOCABULARY_ROW(number, name) PROP_##name = number,
#define VOCABULARY_PARAMETER(number, name) PARAM_##name = number,
#define VOCABULARY_REPEAT(number, name)
#include "vocabulary/rows/properties.inc"
#undef VOCABULARY_REPEAT
#undef VOCABULARY_PARAMETER
#undef VOCABULARY_ROW
};

/// States and choices that a property can hold.
enum _VALUE_ID : std::int32_t
{
#define VOCABULARY_ROW(number, name) VAL_##name = number,
#include "vocabulary/rows/values.inc"
#undef VOCABULARY_ROW
};

/// What can happen to an object.
enum _EVENT_ID : std::int32_t
{
#define VOCABULARY_ROW(number, name) EVENT_##name = number,
#include "vocabulary/rows/events.inc"
#undef VOCABULARY_ROW
};

/// Kinds of object in the tree.
enum _OBJECT_TYPE : std::int32_t
{
#define VOCABULARY_ROW(number, name) OBJECT_##name = number,
#include "vocabulary/rows/object-types.inc"
#undef VOCABULARY_ROW
};

/// Units of a property's value. Byte units step by 1024.
enum _UNITS : std::int32_t
{
#define VOCABULARY_ROW(number, name) UNIT_##name = number,
#include "vocabulary/rows/units.inc"
#undef VOCABULARY_ROW
};

} // namespace PI
