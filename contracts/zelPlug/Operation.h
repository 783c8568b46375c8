#pragma once

#include "contracts/Export.h"
#include "contracts/zelPlug/Event.h"
#include "vocabulary/Identifiers.h"

#include <cstdint>
#include <vector>

namespace PI
{

/// One operation that the host can check or execute.
class ZELPLUG_API COperation
{
  public:
    COperation();
    explicit COperation(_OPERATION_ID id);
    COperation(const COperation&);
    COperation& operator=(const COperation&);
    COperation(COperation&&) noexcept;
    COperation& operator=(COperation&&) noexcept;
    virtual ~COperation();

    /// Takes a copy of the events, in order.
    void SetEvents(const std::vector<CEvent>& events);

    _OPERATION_ID m_ID;
    std::uint32_t m_AliasID;      ///< the identifier once more
    std::uint32_t m_Category;     ///< the host's grouping
    std::vector<CEvent> m_Events; ///< result of GET_EVENTS
    std::uint32_t m_Param1;       ///< m_Param1 to m_Param6 and m_Flag are read by the host alone
    std::uint32_t m_Param2;
    std::uint32_t m_Param3;
    std::uint32_t m_Param4;
    std::uint32_t m_Param5;
    std::uint32_t m_Param6;
    std::uint8_t m_Flag;
};

} // namespace PI
