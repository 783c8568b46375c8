#include "contracts/zelPlug/Property.h"

namespace PI
{
namespace
{

/// Copies the value out when it has the wanted form.
template <class Value, class Form> _ERROR_CODE CopyOf(const Form& form, Value& value)
{
    const Value* held = std::get_if<Value>(&form);
    if (held == nullptr)
        return ERR_INVALID_PROPERTY_TYPE;
    value = *held;
    return ERR_SUCCESS;
}

} // namespace

CProperty::CProperty() : CProperty(PROP_UNDEFINED, false) {}

CProperty::CProperty(_PROPERTY_ID id, bool settable)
    : m_ID(id), m_AliasID(0), m_ViewMask(0xFFFFFFFF), m_TextID(1), m_IconID(0), m_ValueFormat(0),
      m_Unit(UNIT_NONE), m_Settable(settable)
{
}

CProperty::CProperty(const CProperty&) = default;
CProperty& CProperty::operator=(const CProperty&) = default;
CProperty::CProperty(CProperty&&) noexcept = default;
CProperty& CProperty::operator=(CProperty&&) noexcept = default;
CProperty::~CProperty() = default;

_ERROR_CODE CProperty::SetValue(const std::string& text)
{
    m_Value = text;
    return ERR_SUCCESS;
}

_ERROR_CODE CProperty::SetValue(const char* text)
{
    m_Value.emplace<std::string>(text != nullptr ? text : "");
    return ERR_SUCCESS;
}

_ERROR_CODE CProperty::SetValue(std::uint64_t number)
{
    m_Value = number;
    return ERR_SUCCESS;
}

_ERROR_CODE CProperty::SetValue(float real)
{
    m_Value = real;
    return ERR_SUCCESS;
}

_ERROR_CODE CProperty::SetValue(int value, const std::vector<int>& choices)
{
    m_Value = Choice{value, choices};
    return ERR_SUCCESS;
}

_ERROR_CODE CProperty::SetValue(int value, int minimum, int maximum, unsigned step)
{
    m_Value = Range{value, minimum, maximum, step};
    return ERR_SUCCESS;
}

_ERROR_CODE CProperty::GetValue(std::string& text) const
{
    return CopyOf(m_Value, text);
}
_ERROR_CODE CProperty::GetValue(std::uint64_t& number) const
{
    return CopyOf(m_Value, number);
}
_ERROR_CODE CProperty::GetValue(float& real) const
{
    return CopyOf(m_Value, real);
}

_ERROR_CODE CProperty::GetValue(int& value, std::vector<int>& choices) const
{
    const Choice* held = std::get_if<Choice>(&m_Value);
    if (held == nullptr)
        return ERR_INVALID_PROPERTY_TYPE;
    choices = held->choices;
    value = held->value;
    return ERR_SUCCESS;
}

_ERROR_CODE CProperty::GetValue(int& value, int& minimum, int& maximum, unsigned& step) const
{
    const Range* held = std::get_if<Range>(&m_Value);
    if (held == nullptr)
        return ERR_INVALID_PROPERTY_TYPE;
    value = held->value;
    minimum = held->minimum;
    maximum = held->maximum;
    step = held->step;
    return ERR_SUCCESS;
}

} // namespace PI
