#include "host/JsonWriter.h"

#include <nlohmann/json.hpp>

#include <algorithm>

namespace Host
{

namespace
{

using Scalars = nlohmann::json; // of objects and arrays, its destructor takes memory

bool IsPlain(std::string_view text)
{
    return std::ranges::all_of(text, [](char c)
                               { return c >= ' ' && c <= '~' && c != '"' && c != '\\'; });
}

std::string Quoted(std::string_view text)
{
    if (IsPlain(text))
        return '"' + std::string(text) + '"';
    return Scalars(std::string(text)).dump(-1, ' ', true, Scalars::error_handler_t::replace);
}

} // namespace

JsonWriter::JsonWriter(Output& output)
    : JsonWriter([&output](std::string_view text) { output.Write(text); })
{
}

void JsonWriter::BeginDocument()
{
    BeginObject();
    Member("schemaVersion", 1);
}

void JsonWriter::Key(std::string_view name)
{
    Scalar(Quoted(name));
    m_Text += m_Layout == Layout::Indented ? ": " : ":";
    m_IsAfterKey = true;
}

void JsonWriter::Value(double number)
{
    Scalar(Scalars(number).dump());
}

void JsonWriter::Value(std::string_view text)
{
    Scalar(Quoted(text));
}

void JsonWriter::Value(const std::vector<std::string>& texts)
{
    BeginArray();
    for (const std::string& text : texts)
        Value(text);
    EndArray();
}

void JsonWriter::Finish()
{
    m_Text += '\n';
    m_Sink(m_Text);
    m_Text.clear();
}

void JsonWriter::Begin(char bracket)
{
    Scalar({&bracket, 1});
    ++m_Depth;
    m_IsEmpty = true;
}

void JsonWriter::End(char bracket)
{
    --m_Depth;
    if (!m_IsEmpty)
        NewLine();
    m_Text += bracket;
    m_IsEmpty = false;
}

void JsonWriter::Scalar(std::string_view text)
{
    Separate();
    m_Text += text;
}

/// Between this element and the one before.
void JsonWriter::Separate()
{
    if (std::exchange(m_IsAfterKey, false) || m_Depth == 0)
        return;
    if (!m_IsEmpty)
        m_Text += ',';
    m_IsEmpty = false;
    constexpr std::size_t piece = 65536;
    if (m_Text.size() >= piece)
    {
        m_Sink(m_Text);
        m_Text.clear();
    }
    NewLine();
}

void JsonWriter::NewLine()
{
    if (m_Layout == Layout::Indented)
        m_Text.append(1, '\n').append(2 * m_Depth, ' ');
}

} // namespace Host
