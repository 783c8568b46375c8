// Texts from a drive, a partition or a settings file, made fit to stand in a statement. Clean texts
// come out as they went in.
#pragma once

#include "database/Models.h"

#include <string>
#include <type_traits>

namespace DatabaseORM
{

/// What the database keeps of a text: every NUL byte becomes a blank, all other bytes stay.
std::string KeptText(std::string text);

/// What the database keeps of a number: one that does not fit a signed 64-bit integer is unset.
std::uint64_t KeptNumber(std::uint64_t number);

/// A kept text as it stands between double quotes, as a field's value: double quotes are doubled.
std::string ValueText(std::string text);

/// A kept text as it stands between single quotes, in a condition: single quotes are doubled.
std::string ConditionText(std::string text);

/// The record with all its texts as ValueText gives them: what is handed to insert and update. A
/// record that came from select goes through here again before it is written back.
template <class T> T SafeModel(T model)
{
    RaidDataModels::ModelFields<T>::Walk(
        [&model](auto kind, auto member, const RaidDataModels::FieldRow&)
        {
            auto& value = model.*member;
            if constexpr (std::is_same_v<decltype(kind), RaidDataModels::Kinds::Text>)
                value = ValueText(std::move(value));
            else if constexpr (std::is_same_v<decltype(kind), RaidDataModels::Kinds::List>)
                for (std::string& element : value)
                    element = ValueText(std::move(element));
        });
    return model;
}

} // namespace DatabaseORM
