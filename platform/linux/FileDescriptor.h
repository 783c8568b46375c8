// An open file, closed with its owner.
#pragma once

#include <unistd.h>

#include <utility>

namespace Platform
{

/// Owns a descriptor; a negative one stands for none.
class FileDescriptor
{
  public:
    explicit FileDescriptor(int descriptor = -1) : m_Descriptor(descriptor) {}
    FileDescriptor(FileDescriptor&& other) noexcept
        : m_Descriptor(std::exchange(other.m_Descriptor, -1))
    {
    }
    FileDescriptor& operator=(FileDescriptor&& other) noexcept
    {
        std::swap(m_Descriptor, other.m_Descriptor);
        return *this;
    }
    ~FileDescriptor()
    {
        if (m_Descriptor >= 0)
            close(m_Descriptor);
    }

    int Get() const { return m_Descriptor; }
    bool IsOpen() const { return m_Descriptor >= 0; }

  private:
    int m_Descriptor;
};

} // namespace Platform
