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
    CDelegate(T* object, void (T::*target)())
        : m_Call([object, target] { (object->*target)(); }),
          m_Code(reinterpret_cast<const void*>(&CDelegate::Anchor<T>))
    {
    }

    void operator()() const { m_Call(); }

    /// An address in the library whose code the call runs.
    const void* GetCode() const { return m_Code; }

  private:
    template <class T> static void Anchor() {}

    std::function<void()> m_Call;
    const void* m_Code;
};

} // namespace ZKT::Delegates_and_Calls
