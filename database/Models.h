// The rows of the shared database as records. The lists in database/models are the one place where
// the fields of a row stand: members, unset values, field map, table and view all come from there.
#pragma once

#include "database/Kinds.h"

namespace RaidDataModels
{

// A new record has all fields unset: "NULL", an empty list, -2147483648, all ones, 2 to the -126.
#define FIELD(kind, member, role, place, label) Kinds::kind::Type member = Kinds::kind::Unset();

/// An adapter. Its key: hostName, globalAdapterNumber.
struct Adapter
{
#include "database/models/AdapterFields.inc"
};

/// A physical drive. Its key: hostName, globalAdapterNumber, deviceNumber. Sizes in MiB, hours,
/// degrees Celsius, percent; writtenVolume in KiB.
struct PD
{
#include "database/models/PDFields.inc"
};

/// A partition of a drive. Its key: hostName, globalAdapterNumber, partitionName.
struct Partition
{
#include "database/models/PartitionFields.inc"
};

/// A plug-in. Its key: pluginName.
struct Plugin
{
#include "database/models/PluginFields.inc"
};

#undef FIELD

/// What a field is in its table.
enum class FieldRole
{
    Plain,
    Key, ///< part of the key of the row: never NULL
    Id,  ///< the primary key, given by the database
};

/// A row of the lists, apart from its kind and member.
struct FieldRow
{
    const char* name;
    FieldRole role;
    int place;         ///< in the view, from 1; 0: not shown
    const char* label; ///< column name in the view
};

/// Calls visit(kind, member pointer, row) for each field of a model, in the order of the members.
template <class T> struct ModelFields;

#define FIELD(kind, member, role, place, label)                                                    \
    visit(Kinds::kind(), &Model::member, FieldRow{#member, FieldRole::role, place, label});

template <> struct ModelFields<Adapter>
{
    using Model = Adapter;
    template <class Visit> static void Walk(Visit visit)
    {
#include "database/models/AdapterFields.inc"
    }
};

template <> struct ModelFields<PD>
{
    using Model = PD;
    template <class Visit> static void Walk(Visit visit)
    {
#include "database/models/PDFields.inc"
    }
};

template <> struct ModelFields<Partition>
{
    using Model = Partition;
    template <class Visit> static void Walk(Visit visit)
    {
#include "database/models/PartitionFields.inc"
    }
};

template <> struct ModelFields<Plugin>
{
    using Model = Plugin;
    template <class Visit> static void Walk(Visit visit)
    {
#include "database/models/PluginFields.inc"
    }
};

#undef FIELD

} // namespace RaidDataModels
