#include "contracts/zelPlug/PluginHelper.h"

#include <cmath>

namespace PI
{
namespace
{

double Rounded(double value)
{
    return std::round(value * 100) / 100;
}

} // namespace

void CPluginHelper::GenerateCProperty(const _PROPERTY_DESCRIPTION& row, CProperty& property)
{
    property = CProperty(row.m_ID, false);
    property.m_TextID = row.m_TextID;
    property.m_ViewMask = row.m_ViewMask;
    property.m_Unit = row.m_Unit;
}

bool CPluginHelper::ConvertBytesToOtherUnit(std::uint64_t bytes, float& value, _UNITS& unit)
{
    if (bytes == 0)
        return false;
    constexpr _UNITS units[] = {UNIT_KILOBYTES, UNIT_MEGABYTES, UNIT_GIGABYTES, UNIT_TERABYTES};
    std::size_t step = 0;
    double exact = static_cast<double>(bytes) / 1024;
    // The rounded value decides: what would read 1024.00 of a unit is 1.00 of the next.
    while (step + 1 < std::size(units) && Rounded(exact) >= 1024)
    {
        exact /= 1024;
        ++step;
    }
    value = static_cast<float>(Rounded(exact));
    unit = units[step];
    return true;
}

} // namespace PI
