#pragma once

#include "contracts/Export.h"
#include "vocabulary/Identifiers.h"

#include <cstdint>
#include <string>
#include <variant>
#include <vector>

namespace PI
{

/// Kind of value in a property row.
enum _PROPERTY_KIND : std::uint32_t
{
    KIND_TEXT = 2,
    KIND_CHOICE = 3,
    KIND_NUMBER = 5,
    KIND_RANGE = 7,
    KIND_REAL = 9,
};

/// The constant row from which a property is made. Eight 32-bit columns.
struct _PROPERTY_DESCRIPTION
{
    _PROPERTY_ID m_ID;
    std::uint32_t m_TextID;  ///< label in the message catalogue, 1 for none
    std::uint32_t m_Column3; ///< 1 in every row; not read here
    std::uint32_t m_Column4; ///< 1 in every row; not read here
    std::uint32_t m_ViewMask;
    _PROPERTY_KIND m_Kind;
    _UNITS m_Unit;
    std::uint32_t m_Flag; ///< 0 for figures of health; not read here
};
static_assert(sizeof(_PROPERTY_DESCRIPTION) == 8 * 4);

/// One value with its label, unit and view mask.
///
/// The value has one of five forms, or none. GetValue has an overload for each form; it gives 20010
/// (INVALID_PROPERTY_TYPE) and leaves its arguments alone when the property holds another form.
class ZELPLUG_API CProperty
{
  public:
    CProperty();
    CProperty(_PROPERTY_ID id, bool settable);
    CProperty(const CProperty&);
    CProperty& operator=(const CProperty&);
    CProperty(CProperty&&) noexcept;
    CProperty& operator=(CProperty&&) noexcept;
    virtual ~CProperty();

    _ERROR_CODE SetValue(const std::string& text);
    _ERROR_CODE SetValue(const char* text); ///< null counts as the empty text
    _ERROR_CODE SetValue(std::uint64_t number);
    _ERROR_CODE SetValue(float real);
    /// A choice. A value that is not among the choices is kept all the same: a state may be shown
    /// that nobody can choose.
    _ERROR_CODE SetValue(int value, const std::vector<int>& choices);
    /// A bounded number. Kept as given, also outside its bounds.
    _ERROR_CODE SetValue(int value, int minimum, int maximum, unsigned step);

    _ERROR_CODE GetValue(std::string& text) const;
    _ERROR_CODE GetValue(std::uint64_t& number) const;
    _ERROR_CODE GetValue(float& real) const;
    _ERROR_CODE GetValue(int& value, std::vector<int>& choices) const;
    _ERROR_CODE GetValue(int& value, int& minimum, int& maximum, unsigned& step) const;

    bool IsSettable() const { return m_Settable; }

    _PROPERTY_ID m_ID;
    std::uint32_t m_AliasID;     ///< name in the host's command language (35000 band), 0 for none
    std::uint32_t m_ViewMask;    ///< views that show it, one bit each; 0: nothing to show
    std::uint32_t m_TextID;      ///< label in the message catalogue, 1 for none
    std::uint32_t m_IconID;      ///< status picture, 0 for none
    std::uint32_t m_ValueFormat; ///< 8 for a real number shown as one, else 0
    _UNITS m_Unit;

  private:
    struct Choice
    {
        int value;
        std::vector<int> choices;
    };
    struct Range
    {
        int value;
        int minimum;
        int maximum;
        unsigned step;
    };

    bool m_Settable;
    std::variant<std::monostate, std::string, std::uint64_t, float, Choice, Range> m_Value;
};

} // namespace PI
