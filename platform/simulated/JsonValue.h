// A value inside a JSON document that knows its place, for reading with checks.
#pragma once

#include "platform/simulated/JsonText.h"

#include <cstdint>
#include <initializer_list>
#include <string>

namespace Platform
{

/// Refers to the document and to the value it was taken from; both must outlive it. Every reader
/// throws a Complaint that names the place.
class JsonValue
{
  public:
    explicit JsonValue(const nlohmann::json& document) : m_Value(document) {}

    /// Such as "disks[2].identify.serial".
    std::string Place() const;
    /// The value for a message, short.
    std::string Shown() const;
    [[noreturn]] void Fail(const std::string& what, const std::string& remedy) const;

    bool IsText() const { return m_Value.is_string(); }
    bool IsList() const { return m_Value.is_array(); }
    bool IsObject() const { return m_Value.is_object(); }
    bool Is(std::uint64_t number) const
    {
        return m_Value.is_number_unsigned() && m_Value.get<std::uint64_t>() == number;
    }
    void DemandKind(bool isKind, const char* kind) const;

    /// Demands an object with no members but these and comments.
    void DemandObject(std::initializer_list<const char*> names) const;
    bool Has(const char* name) const { return m_Value.contains(name); }
    /// Complains when it is absent. On values with a name only: the member points to its parent.
    JsonValue Member(const char* name) const&;
    JsonValue Member(const char* name) const&& = delete;
    /// Runs for each member that is no comment, with its name.
    template <class Visit> void EachMember(Visit visit) const
    {
        DemandKind(m_Value.is_object(), "an object");
        for (const auto& [name, value] : m_Value.items())
        {
            if (!IsComment(name))
                visit(name, JsonValue(value, *this, name.c_str(), 0));
        }
    }

    /// Runs for each element of a list, with its position.
    template <class Visit> void EachItem(Visit visit) const
    {
        DemandKind(m_Value.is_array(), "a list");
        for (std::size_t position = 0; position < m_Value.size(); ++position)
            visit(position, Item(position));
    }
    /// Of a list that has it. As for members, the list has to outlive it.
    JsonValue Item(std::size_t position) const&
    {
        return JsonValue(m_Value[position], *this, nullptr, position);
    }
    JsonValue Item(std::size_t position) const&& = delete;
    std::size_t Count() const { return m_Value.size(); }

    std::uint64_t Number(std::uint64_t lowest, std::uint64_t highest) const;
    bool Flag() const;
    std::string Text(std::size_t limit) const;
    /// A text that serves as a name: neither empty nor with a NUL in it.
    std::string Name(std::size_t limit) const;

  private:
    JsonValue(const nlohmann::json& value, const JsonValue& parent, const char* name,
              std::size_t position)
        : m_Value(value), m_Parent(&parent), m_Name(name), m_Position(position)
    {
    }

    const nlohmann::json& m_Value;
    const JsonValue* m_Parent = nullptr;
    const char* m_Name = nullptr;
    std::size_t m_Position = 0;
};

} // namespace Platform
