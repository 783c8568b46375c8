// Texts of values in a statement. None of them depends on the host's locale.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace DatabaseORM
{

/// The keyword that an unset field is written as.
inline constexpr std::string_view sqlNullKeyword = "NULL";

/// Appends a value as it stands: a number in decimal, a text unchanged.
void AppendPlain(std::string& text, std::int32_t value);
void AppendPlain(std::string& text, std::uint64_t value);
void AppendPlain(std::string& text, const std::string& value);

/// Appends a field's value: a number in decimal, a real as "%f" writes it, a text between double
/// quotes, a list between double quotes with "?" between its elements; NULL for an unset one. A
/// real that prints as zero counts as unset, and so does one that is no number. Nothing is escaped.
/// @return false for an unset field
bool AppendValue(std::string& text, std::int32_t value);
bool AppendValue(std::string& text, std::uint64_t value);
bool AppendValue(std::string& text, const std::string& value);
bool AppendValue(std::string& text, const std::vector<std::string>& value);
bool AppendValue(std::string& text, double value);

/// Values gathered in any order and written in column order.
class ColumnTexts
{
  public:
    explicit ColumnTexts(std::uint32_t columns) : m_Columns(columns) {}

    /// @param name  outlives this object
    /// @return the value's text; empty for an unset value
    template <class Value>
    std::string_view Put(std::uint32_t column, const std::string& name, const Value& value)
    {
        const std::size_t begin = m_Values.size();
        const bool set = AppendValue(m_Values, value);
        m_Columns[column] = {&name, begin, m_Values.size() - begin};
        return set ? std::string_view(m_Values).substr(begin) : std::string_view();
    }

    void AppendNames(std::string& text) const;       ///< "c1, c2"
    void AppendValues(std::string& text) const;      ///< "1, NULL"
    void AppendAssignments(std::string& text) const; ///< "c1=1, c2=NULL"
    std::size_t Size() const;                        ///< about the length of all names and values

  private:
    struct Column
    {
        const std::string* name = nullptr; ///< null: not put
        std::size_t begin = 0;
        std::size_t length = 0;
    };

    /// Appends what `append` gives for each column, with ", " between.
    template <class Append> void Join(std::string& text, Append append) const;

    std::vector<Column> m_Columns;
    std::string m_Values;
};

} // namespace DatabaseORM
