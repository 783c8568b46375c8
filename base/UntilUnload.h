// Objects of a library that is unloaded while its process goes on, or is still in use when the
// process ends.
#pragma once

#include <utility>

namespace Base
{

#if defined(_WIN32)
// A process that ends there ends its other threads before anything is destroyed.
constexpr bool isUnloading = true;
#else
/// Of the library that this is built into.
[[gnu::visibility("hidden")]] inline bool isUnloading = false;

// An unloaded library runs this first and destroys its objects then. A process that ends destroys
// what was made since its start before any library runs this.
[[gnu::destructor, gnu::used]] static void NoteUnloading()
{
    isUnloading = true;
}
#endif

/// An object that is destroyed when its library is unloaded, which no thread uses by then. At the
/// end of the process it is left as it is: other threads may still be in a call. Only for static
/// variables of functions, so that it is made after the start of the process.
template <class T> class UntilUnload
{
  public:
    template <class... Arguments>
    explicit UntilUnload(Arguments&&... arguments) : m_Object(std::forward<Arguments>(arguments)...)
    {
    }
    ~UntilUnload()
    {
        if (isUnloading)
            m_Object.~T();
    }
    UntilUnload(const UntilUnload&) = delete;
    UntilUnload& operator=(const UntilUnload&) = delete;

    T& operator*() { return m_Object; }

  private:
    union
    {
        T m_Object;
    };
};

} // namespace Base
