#pragma once

#include <functional>
#include <utility>

namespace ZKT::Delegates_and_Calls
{

/// A call without arguments, bound to an object. Copyable; does not own the object.
class CDelegate
{
  public:
    template <class T>
    CDelegate(T* object, void (T::*target)()) : m_Call([object, target] { (object->*target)(); })
    {
    }

    void operator()() const { m_Call(); }

  private:
    std::function<void()> m_Call;
};

} // namespace ZKT::Delegates_and_Calls
