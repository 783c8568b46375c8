// Which member of a model belongs to which column.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace RaidDataModels
{

/// A member and its column.
template <class T, class Value> struct FieldEntry
{
    Value T::*member;
    std::string columnName;
    std::uint32_t columnIndex; ///< place of the column in the table, from 0
};

/// Base of all field maps: they are told apart by their type.
class dbModelFieldsMapBase
{
  public:
    virtual ~dbModelFieldsMapBase() = default;

    std::string aliasName; ///< the table's alias in a SELECT
    std::uint32_t fieldCount = 0;
};

/// The map of one model. Built by the owner of the database, constant afterwards. Within each list
/// the entries stand in column order, and every columnIndex is below fieldCount.
template <class T> class dbModelFieldsMap : public dbModelFieldsMapBase
{
  public:
    std::vector<FieldEntry<T, std::int32_t>> intFields;
    std::vector<FieldEntry<T, std::uint64_t>> unsignedFields;
    std::vector<FieldEntry<T, std::string>> textFields;
    std::vector<FieldEntry<T, std::vector<std::string>>> listFields;
    std::vector<FieldEntry<T, double>> realFields;

    /// The list of a kind, chosen by the type of its members.
    auto& Entries(std::int32_t T::*) { return intFields; }
    auto& Entries(std::uint64_t T::*) { return unsignedFields; }
    auto& Entries(std::string T::*) { return textFields; }
    auto& Entries(std::vector<std::string> T::*) { return listFields; }
    auto& Entries(double T::*) { return realFields; }
    template <class Value> const auto& Entries(Value T::*member) const
    {
        return const_cast<dbModelFieldsMap*>(this)->Entries(member);
    }

    /// Calls visit(entry) for every entry: ints, unsigned, texts, lists, reals.
    template <class Visit> void Walk(Visit visit) const
    {
        const auto walk = [&visit](const auto& entries)
        {
            for (const auto& entry : entries)
                visit(entry);
        };
        walk(intFields);
        walk(unsignedFields);
        walk(textFields);
        walk(listFields);
        walk(realFields);
    }
};

} // namespace RaidDataModels
