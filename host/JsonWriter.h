// JSON on its way out: written as it comes, in pieces, so that a machine of thousands of drives
// takes no more memory than a piece.
#pragma once

#include "host/Output.h"

#include <charconv>
#include <concepts>
#include <cstddef>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace Host
{

/// In ASCII, because the output may well end on a terminal: a drive's text then cannot hold a
/// control character in any disguise. What is not UTF-8 becomes U+FFFD.
class JsonWriter
{
  public:
    enum class Layout
    {
        Indented,
        OneLine,
    };

    /// @param sink  takes the text piece by piece
    explicit JsonWriter(std::function<void(std::string_view)> sink,
                        Layout layout = Layout::Indented)
        : m_Sink(std::move(sink)), m_Layout(layout)
    {
    }

    /// Indented.
    explicit JsonWriter(Output& output);

    /// An object that tells the version of its schema. Members may be added to a version; none is
    /// renamed, none is taken away.
    void BeginDocument();
    void BeginObject() { Begin('{'); }
    void EndObject() { End('}'); }
    void BeginArray() { Begin('['); }
    void EndArray() { End(']'); }
    /// Name of the member whose value comes next.
    void Key(std::string_view name);

    void Value(std::nullptr_t) { Scalar("null"); }
    void Value(std::same_as<bool> auto value) { Scalar(value ? "true" : "false"); }
    void Value(double number); ///< null for one that is not finite
    void Value(std::string_view text);
    void Value(const std::vector<std::string>& texts);
    template <std::integral Number>
    requires(!std::same_as<Number, bool>) void Value(Number number)
    {
        char digits[24];
        Scalar({digits, std::to_chars(digits, digits + sizeof digits, number).ptr});
    }
    template <typename Type> void Value(const std::optional<Type>& value)
    {
        value ? Value(*value) : Value(nullptr);
    }

    template <typename Type> void Member(std::string_view name, const Type& value)
    {
        Key(name);
        Value(value);
    }

    /// Ends the text with a line feed and hands out the rest of it.
    void Finish();

  private:
    void Begin(char bracket);
    void End(char bracket);
    void Scalar(std::string_view text);
    void Separate();
    void NewLine();

    const std::function<void(std::string_view)> m_Sink;
    const Layout m_Layout;
    std::string m_Text;
    std::size_t m_Depth = 0;
    bool m_IsEmpty = true;     ///< the object or array that was begun last, so far
    bool m_IsAfterKey = false; ///< a value comes next
};

/// Null in place of an empty text.
inline std::optional<std::string_view> TextOrNull(std::string_view text)
{
    return text.empty() ? std::nullopt : std::optional(text);
}

} // namespace Host
