// The interface between a host and a storage plug-in.
//
// A plug-in library exports two functions, createIf and releaseIf, and hands out one interface
// object. Everything else goes through the numbered command entry of that object.
//
// Order of calls: createIf; write m_HostContext and m_HostCallback; command 1; command 2 with the
// identifiers completed; then commands 4 to 10 in any number, from any thread; command 3;
// releaseIf. Commands 1, 2 and 3 must not overlap with anything. Command 3 must not be sent from
// inside the callback.
//
// The record of a command is the caller's own object; no command keeps it. A vector record is
// filled in place. When command 1, 4, 5 or 8 fails its vector is empty afterwards, whatever it held
// before.
#pragma once

#include <cstdint>

class IPLUGINAPI;

namespace PI
{

/// Commands of the entry, the record each takes, and which way the record goes.
enum _COMMAND : std::int32_t
{
    COMMAND_INITIALIZE = 1,      ///< std::vector<PI::CAdapterID>, out: one element per adapter
    COMMAND_SET_ADAPTER_IDS = 2, ///< std::vector<PI::CAdapterID>, in: with the host's global ids
    COMMAND_DEINITIALIZE = 3,   ///< no record; returns within 26 seconds; only releaseIf may follow
    COMMAND_GET_TOPOLOGY = 4,   ///< std::vector<PI::CObject>, out
    COMMAND_GET_PROPERTIES = 5, ///< std::vector<PI::CProperty>, out
    COMMAND_GET_PROPERTY = 6,   ///< PI::CProperty: m_ID in, the whole property out
    COMMAND_SET_PROPERTY = 7,   ///< PI::CProperty, in
    COMMAND_GET_OPERATIONS = 8, ///< std::vector<PI::COperation>, out
    COMMAND_CHECK_OPERATION = 9,   ///< PI::COperation, in
    COMMAND_EXECUTE_OPERATION = 10 ///< PI::COperation, in and out
};

} // namespace PI

/// The host's doorbell: something may be there to collect. Called on the plug-in's worker thread
/// with no lock held, so that commands 4 to 10 may be sent from inside it. A callback that does not
/// return holds the worker up for as long: command 3 then gives it up after 25 seconds.
using HostCallback = void (*)(void* hostContext, IPLUGINAPI* plugin);

class IPLUGINAPI
{
  public:
    /// The command entry.
    /// @param command   a number of PI::_COMMAND; any other gives 20002 and touches nothing
    /// @param objectId  the object asked about; commands 1 to 4 do not look at it
    /// @param record    the command's record; null where a record is needed gives 20006
    /// @return 0 or a PI::_ERROR_CODE from 20000. No exception leaves the entry.
    virtual std::int32_t Command(std::int32_t command, std::uint64_t objectId, void* record) = 0;

    /// Reached through releaseIf only.
    virtual ~IPLUGINAPI() = default;

    std::uint32_t m_Version = 2;           ///< version of this interface
    std::uint32_t m_ModuleStamp = 0;       ///< stamped by createIf
    void* m_HostContext = nullptr;         ///< the host's own; first argument of the callback
    HostCallback m_HostCallback = nullptr; ///< written by the host before command 2

  protected:
    IPLUGINAPI() = default;
};

extern "C"
{
    /// Builds an instance. Writes it, or null, to *plugin.
    /// @return 0, or 20007 (MEMORY_ERROR) with a null pointer
    using CreateIfFunction = std::int32_t (*)(IPLUGINAPI** plugin);

    /// Destroys *plugin and writes null back. A null pointer is left alone. Stops no worker:
    /// command 3 comes first.
    using ReleaseIfFunction = void (*)(IPLUGINAPI** plugin);
}
