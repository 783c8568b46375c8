// Conditions of a statement: plain values that name a member, and their text.
#pragma once

#include "database/StatementText.h"

#include <cstdint>
#include <string>
#include <utility>

namespace DatabaseORM
{

/// A member equals a value. A text from outside goes through ConditionText first.
template <class T, class Value> struct Equality
{
    Value T::*member;
    Value value;
};

/// Both conditions hold; each is an Equality or another And.
template <class Left, class Right> struct And
{
    Left left;
    Right right;
};
template <class Left, class Right> And(Left, Right) -> And<Left, Right>;

template <class T> Equality<T, std::int32_t> Equal(std::int32_t T::*member, std::int32_t value)
{
    return {member, value};
}

template <class T> Equality<T, std::string> Equal(std::string T::*member, std::string value)
{
    return {member, std::move(value)};
}

/// Appends the text of a condition. Names gives columnNameOf, aliasOf and qualifyColumns.
template <class Names, class T, class Value>
void Serialize(const Names& names, const Equality<T, Value>& condition, std::string& text)
{
    const std::string& column = names.template columnNameOf<T>(condition.member);
    const std::string& alias = names.template aliasOf<T>();
    text += ' ';
    if (names.qualifyColumns)
        text.append(alias).append(".");
    text.append(column).append(" = '");
    AppendPlain(text, condition.value);
    text += '\'';
}

template <class Names, class Left, class Right>
void Serialize(const Names& names, const And<Left, Right>& condition, std::string& text)
{
    text += " (";
    Serialize(names, condition.left, text);
    text += ") AND (";
    Serialize(names, condition.right, text);
    text += ") ";
}

} // namespace DatabaseORM
