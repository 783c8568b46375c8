#include "host/StateText.h"

#include "host/JsonWriter.h"

#include <nlohmann/json.hpp>

#include <string_view>
#include <type_traits>
#include <utility>

namespace Host
{

namespace
{

using nlohmann::json;

constexpr const char* drivesName = "drives";

/// Nesting depth: the number of objects and arrays around a value.
enum Depth : unsigned
{
    InFile = 1,
    InDrives,
    InDrive,
    InValue ///< of a drive: texts, or numbers by name
};

class Reader : public nlohmann::json_sax<json>
{
  public:
    ParsedState Take()
    {
        m_Parsed.isWhole &= m_HasDrives;
        return std::move(m_Parsed);
    }

    bool null() override { return Put(nullptr); }
    bool boolean(bool value) override { return Put(value); }
    bool number_integer(number_integer_t) override { return Alien(); }
    bool number_unsigned(number_unsigned_t value) override { return Put(std::uint64_t{value}); }
    bool number_float(number_float_t, const string_t&) override { return Alien(); }
    bool string(string_t& value) override { return Put(std::move(value)); }
    bool binary(binary_t&) override { return Alien(); }
    bool parse_error(std::size_t, const std::string&, const json::exception&) override
    {
        return false;
    }

    bool key(string_t& name) override
    {
        (m_Depth == InValue ? m_NumberName : m_Name) = std::move(name);
        return true;
    }

    bool start_object(std::size_t) override
    {
        ++m_Depth;
        if (m_Depth == InFile)
            return true;
        if (m_Depth == InDrive)
            m_Parsed.state.drives.emplace_back();
        else
            Begin(StateNumbers());
        return true;
    }

    bool start_array(std::size_t) override
    {
        ++m_Depth;
        if (m_Depth == InDrives && m_Name == drivesName)
            m_HasDrives = true;
        else
            Begin(StateTexts());
        return true;
    }

    bool end_object() override { return End(); }
    bool end_array() override { return End(); }

  private:
    bool Alien()
    {
        m_Parsed.isWhole = false;
        return true;
    }

    bool End()
    {
        --m_Depth;
        return true;
    }

    /// Of the values that come.
    StateEntry* Entry()
    {
        auto& [facts, drives] = m_Parsed.state;
        if (m_Depth == InFile)
            return &facts;
        return m_Depth == InDrive && !drives.empty() ? &drives.back() : nullptr;
    }

    template <class Values> void Begin(Values values)
    {
        if (m_Depth == InValue && !m_Parsed.state.drives.empty())
            m_Values = &(m_Parsed.state.drives.back()[m_Name] = std::move(values));
        else
            Alien();
    }

    template <class Value> bool Put(Value value)
    {
        if (StateEntry* const entry = Entry())
        {
            (*entry)[m_Name] = std::move(value);
            return true;
        }
        if (m_Depth == InValue && m_Values != nullptr)
            return PutInto(*m_Values, std::move(value));
        return Alien();
    }

    template <class Value> bool PutInto(StateValue& values, Value value)
    {
        if constexpr (std::is_same_v<Value, std::string>)
            if (auto* const texts = std::get_if<StateTexts>(&values))
                return texts->push_back(std::move(value)), true;
        if constexpr (std::is_same_v<Value, std::uint64_t>)
            if (auto* const numbers = std::get_if<StateNumbers>(&values))
                return (*numbers)[m_NumberName] = value, true;
        return Alien();
    }

    ParsedState m_Parsed;
    bool m_HasDrives = false;
    unsigned m_Depth = 0;
    std::string m_Name;
    std::string m_NumberName;
    StateValue* m_Values = nullptr; ///< those that were begun last
};

void Write(JsonWriter& writer, const StateNumbers& numbers)
{
    writer.BeginObject();
    for (const auto& [name, number] : numbers)
        writer.Member(name, number);
    writer.EndObject();
}

template <class Value> void Write(JsonWriter& writer, const Value& value)
{
    writer.Value(value);
}

void WriteMembers(JsonWriter& writer, const StateEntry& entry)
{
    for (const auto& [name, value] : entry)
    {
        writer.Key(name);
        std::visit([&](const auto& alternative) { Write(writer, alternative); }, value);
    }
}

} // namespace

std::string StateText(const State& state)
{
    std::string text;
    JsonWriter writer([&text](std::string_view piece) { text += piece; });
    writer.BeginObject();
    WriteMembers(writer, state.facts);
    writer.Key(drivesName);
    writer.BeginArray();
    for (const StateEntry& drive : state.drives)
    {
        writer.BeginObject();
        WriteMembers(writer, drive);
        writer.EndObject();
    }
    writer.EndArray();
    writer.EndObject();
    writer.Finish();
    return text;
}

std::optional<ParsedState> ParseState(const std::string& text)
{
    Reader reader;
    if (!json::sax_parse(text, &reader))
        return std::nullopt;
    return reader.Take();
}

} // namespace Host
