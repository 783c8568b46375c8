#include "host/Health.h"

#include "host/PropertyText.h"

#include <algorithm>
#include <array>
#include <utility>

namespace
{

constexpr std::array wear{PI::PROP_RATED_ENDURANCE_PERCENT, PI::PROP_REMAINING_RESERVE_SPACE,
                          PI::PROP_ESTIMATED_LIFETIME};
constexpr std::array otherReadings{PI::PROP_TEMPERATURE, PI::PROP_POWERON_HOURS,
                                   PI::PROP_BYTES_WRITTEN};

bool HasReading(const PI::CObject& drive, PI::_PROPERTY_ID id)
{
    const PI::CProperty* property = Host::FindProperty(drive, id);
    return property != nullptr && property->m_ViewMask != 0;
}

} // namespace

namespace Host
{

Health HealthOf(const PI::CObject& object)
{
    const auto status = ChoiceOf(object, PI::PROP_STATUS);
    if (!status)
        return Health::Good;
    switch (*status)
    {
    case PI::VAL_OK:
    case PI::VAL_AVAILABLE:
    case PI::VAL_OPERATIONAL:
        return Health::Good;
    case PI::VAL_FAILED:
    case PI::VAL_FAILED_SMART:
    case PI::VAL_FAILED_MISSING:
        return Health::Failed;
    default:
        return Health::Warning;
    }
}

bool HasWearReadings(const PI::CObject& drive)
{
    return std::any_of(wear.begin(), wear.end(), [&](auto id) { return HasReading(drive, id); });
}

bool HasSmartReadings(const PI::CObject& drive)
{
    return HasWearReadings(drive) || std::any_of(otherReadings.begin(), otherReadings.end(),
                                                 [&](auto id) { return HasReading(drive, id); });
}

bool IsSsd(const PI::CObject& drive)
{
    return ChoiceOf(drive, PI::PROP_MEDIA_TYPE) == PI::VAL_SSD;
}

std::string ReasonOf(const PI::CObject& drive)
{
    constexpr std::array<std::pair<PI::_PROPERTY_ID, const char*>, wear.size()> sayings{{
        {PI::PROP_RATED_ENDURANCE_PERCENT, "rated endurance used: "},
        {PI::PROP_REMAINING_RESERVE_SPACE, "reserve space left: "},
        {PI::PROP_ESTIMATED_LIFETIME, "expected to last until "},
    }};
    std::string reason;
    for (const auto& [id, saying] : sayings)
        if (HasReading(drive, id))
            reason += (reason.empty() ? "" : "; ") + (saying + ValueText(*FindProperty(drive, id)));
    return reason.empty() ? "the drive gives no reading that tells why" : reason;
}

} // namespace Host
