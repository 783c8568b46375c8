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
    /// Rows are as they should be, and could be written. That tells nothing of room on the disk.
    void Writable();
    bool IsRefused() const { return m_IsRefused; }

    /// Empty when nothing is wrong.
    std::string Message() const;

  private:
    mutable std::mutex m_Mutex; ///< guards the next two
    std::string m_Message;
    bool m_NeedsRoom = false;
    std::atomic<bool> m_IsRefused = false;
};

/// The state that AreRowsRefused tells of from now on, for as long as its owner keeps it.
std::shared_ptr<RowState> MakeRowState();

} // namespace DatabaseWrapper::Internals
