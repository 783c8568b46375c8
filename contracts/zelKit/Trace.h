#pragma once

#include "contracts/Export.h"
#include "contracts/zelKit/ModuleInfo.h"

#include <cstddef>
#include <cstdint>
#include <string>

namespace ZKT
{

namespace Internals
{
class CTraceStreamBuffer;
}

namespace Output_Streams
{

/// An integer argument of a format text.
class FormatInt
{
  public:
    FormatInt(std::int32_t value)
        : m_Value(static_cast<std::uint64_t>(value)), m_Bits(static_cast<std::uint32_t>(value)),
          m_Signed(true)
    {
    }
    FormatInt(std::uint32_t value) : m_Value(value), m_Bits(value), m_Signed(false) {}
    FormatInt(std::int64_t value)
        : m_Value(static_cast<std::uint64_t>(value)), m_Bits(m_Value), m_Signed(true)
    {
    }
    FormatInt(std::uint64_t value) : m_Value(value), m_Bits(value), m_Signed(false) {}

    std::uint64_t GetValue() const { return m_Value; } ///< sign-extended to 64 bits
    std::uint64_t GetBits() const { return m_Bits; }   ///< the bits of its own width alone
    bool IsSigned() const { return m_Signed; }

  private:
    std::uint64_t m_Value;
    std::uint64_t m_Bits;
    bool m_Signed;
};

/// Fills the places of a format text, "%d", "%s" and "%x", in order. What is left over of the
/// places stays as it stands; what is left over of the values is dropped. The text is made safe for
/// a terminal (Printable), so that a trace line stays one line.
class ZELKIT_API CFormatStream
{
  public:
    CFormatStream(Internals::CTraceStreamBuffer& buffer, const char* format);
    ~CFormatStream(); ///< hands the finished text to the buffer
    CFormatStream(const CFormatStream&) = delete;
    CFormatStream& operator=(const CFormatStream&) = delete;

    CFormatStream& operator<<(const char* text);
    CFormatStream& operator<<(const std::string& text);
    CFormatStream& operator<<(FormatInt number);

  private:
    /// Moves on to the next place. Gives its letter, 0 when no place is left.
    char NextPlace();

    Internals::CTraceStreamBuffer& m_Buffer;
    std::string m_Text;
    const char* m_Rest; ///< what of the format text is still to come
};

} // namespace Output_Streams

namespace Internals
{

/// One trace line. It is written when the buffer is destroyed: to the file TARNIS_TRACE_FILE, else
/// to standard error, in one piece, also when several threads trace at once. The caller has tested
/// the mask.
class ZELKIT_API CTraceStreamBuffer
{
  public:
    /// @param level         one bit
    /// @param sourcePath    folder of the source, such as "tarnis/Src/tarnisPlugin"
    /// @param functionName  qualified name; both texts outlive the buffer
    CTraceStreamBuffer(std::uint32_t level, const Misc::CModuleInfo& module, const char* sourcePath,
                       const char* functionName, std::uint32_t line);
    virtual ~CTraceStreamBuffer();
    CTraceStreamBuffer(const CTraceStreamBuffer&) = delete;
    CTraceStreamBuffer& operator=(const CTraceStreamBuffer&) = delete;

    /// Opens a stream on a format text. The stream is destroyed before the buffer.
    virtual Output_Streams::CFormatStream Open(const char* format);

  private:
    friend class Output_Streams::CFormatStream;

    std::uint32_t m_Level;
    const Misc::CModuleInfo& m_Module;
    const char* m_SourcePath;
    const char* m_FunctionName;
    std::uint32_t m_Line;
    std::string m_Text;
};

} // namespace Internals
} // namespace ZKT
