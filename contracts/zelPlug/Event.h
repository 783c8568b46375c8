#pragma once

#include "contracts/Export.h"
#include "vocabulary/Identifiers.h"

#include <cstdint>
#include <string>

namespace PI
{

/// One queued event.
class ZELPLUG_API CEvent
{
  public:
    CEvent();
    CEvent(const CEvent&);
    CEvent& operator=(const CEvent&);
    CEvent(CEvent&&) noexcept;
    CEvent& operator=(CEvent&&) noexcept;
    virtual ~CEvent();

    void SetSource(const std::string& text) { m_Source = text; }
    void SetPlaceHolder1(const std::string& text) { m_PlaceHolder1 = text; }
    void SetPlaceHolder2(const std::string& text) { m_PlaceHolder2 = text; }
    void SetPlaceHolder3(const std::string& text) { m_PlaceHolder3 = text; }
    void SetPlaceHolder4(const std::string& text) { m_PlaceHolder4 = text; }

    const std::string& GetSource() const { return m_Source; }
    const std::string& GetPlaceHolder1() const { return m_PlaceHolder1; }
    const std::string& GetPlaceHolder2() const { return m_PlaceHolder2; }
    const std::string& GetPlaceHolder3() const { return m_PlaceHolder3; }
    const std::string& GetPlaceHolder4() const { return m_PlaceHolder4; }

    std::uint64_t m_ObjectID; ///< the object that the event is about
    _EVENT_ID m_EventID;
    std::int32_t m_Severity; ///< 3 trouble, 2 change
    std::uint64_t m_Time;    ///< milliseconds as from ZKT::Misc::now

  private:
    std::string m_Source;       ///< name of the object
    std::string m_PlaceHolder1; ///< texts that the message of the event has places for
    std::string m_PlaceHolder2;
    std::string m_PlaceHolder3;
    std::string m_PlaceHolder4;
};

} // namespace PI
