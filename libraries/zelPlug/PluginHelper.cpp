#include "contracts/zelPlug/PluginHelper.h"

#include <cmath>

namespace PI
{

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
    std::uint64_t size = 1024;
    while (step + 1 < std::size(units) && bytes >= size * 1024)
    {
        size *= 1024;
        ++step;
    }
    const double exact = static_cast<double>(bytes) / static_cast<double>(size);
    value = static_cast<float>(std::round(exact * 100) / 100);
    unit = units[step];
    return true;
}

_ERROR_CODE CPluginHelper::SplitSATAModelName(const std::string& model, std::string& vendor,
                                              std::string& product)
{
    constexpr const char* blanks = " \t\n\v\f\r";
    const std::size_t begin = model.find_first_not_of(blanks);
    if (begin == std::string::npos)
    {
        vendor.clear();
        product.clear();
        return ERR_INVALID_PARAMETER;
    }
    // A copy first: a result may be the model's own string.
    const std::string text = model.substr(begin, model.find_last_not_of(blanks) + 1 - begin);
    const std::size_t gap = text.find_first_of(blanks);
    if (gap == std::string::npos)
    {
        vendor.clear();
        product = text;
        return ERR_SUCCESS;
    }
    vendor = text.substr(0, gap);
    product = text.substr(text.find_first_not_of(blanks, gap));
    return ERR_SUCCESS;
}

const CSATALifeTimeData* CPluginHelper::findLifeTimeProp(const std::string& /*product*/)
{
    return nullptr;
}

bool CPluginHelper::ComputeRemainingLifeTime(std::uint64_t /*hours*/,
                                             std::uint64_t /*bytesWritten*/,
                                             std::uint32_t /*percent*/, std::uint64_t /*rating*/,
                                             std::uint64_t& /*remainingHours*/)
{
    return false;
}

} // namespace PI
