// Whether rows can be written, and if not, the line that says why and what to do.
#pragma once

#include "libraries/zelStore/Sqlite.h"

#include <atomic>
#include <memory>
#include <mutex>
#include <string>

namespace DatabaseWrapper::Internals
{

/// The state of one connection, which notes it. Any thread may ask.
class RowState
{
  public:
    /// Notes a failure. One that is the statement's own changes nothing.
    /// @param path  of the database; empty when there is no place for it
    void Refused(const Failure& failure, const std::string& path);
    void Written();

    /// Empty when nothing is wrong.
    std::string Message() const;

  private:
    mutable std::mutex m_Mutex; ///< guards m_Message
    std::string m_Message;
    std::atomic<bool> m_IsRefused = false;
};

/// The state that AreRowsRefused tells of from now on, for as long as its owner keeps it.
std::shared_ptr<RowState> MakeRowState();

} // namespace DatabaseWrapper::Internals
