// Handles that are given out, and what stands behind them.
#pragma once

#include "platform/WindowsTypes.h"

#include <boost/container/flat_map.hpp>

#include <cstddef>
#include <memory>
#include <mutex>
#include <utility>

namespace Platform
{

/// A number that no handle of this process ever had. Tables share the count, so that a handle of
/// one is unknown to the other.
HANDLE NewHandleValue();

/// Finds objects by handle. An object lives on as long as somebody works with it, though its handle
/// is closed. All calls are safe from any thread.
template <class T> class HandleTable
{
  public:
    HANDLE Add(std::shared_ptr<T> object)
    {
        const HANDLE handle = NewHandleValue();
        const std::lock_guard guard(m_Lock);
        m_Objects.emplace(handle, std::move(object));
        return handle;
    }

    /// Null for a handle that is not open.
    std::shared_ptr<T> Find(HANDLE handle) const
    {
        const std::lock_guard guard(m_Lock);
        const auto found = m_Objects.find(handle);
        return found == m_Objects.end() ? nullptr : found->second;
    }

    /// Hands the object over, so that it ends outside the lock.
    std::shared_ptr<T> Remove(HANDLE handle)
    {
        const std::lock_guard guard(m_Lock);
        const auto found = m_Objects.find(handle);
        if (found == m_Objects.end())
            return nullptr;
        std::shared_ptr<T> object = std::move(found->second);
        m_Objects.erase(found);
        return object;
    }

    std::size_t Count() const
    {
        const std::lock_guard guard(m_Lock);
        return m_Objects.size();
    }

  private:
    mutable std::mutex m_Lock;
    boost::container::flat_map<HANDLE, std::shared_ptr<T>> m_Objects; ///< new ones come last
};

} // namespace Platform
