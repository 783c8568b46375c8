#include "contracts/zelKit/Trace.h"

#include "base/UntilUnload.h"
#include "contracts/zelKit/Environment.h"
#include "contracts/zelKit/Text.h"
#include "contracts/zelKit/Time.h"
#include "libraries/LocalDate.h"
#include "libraries/zelKit/Output.h"
#include "libraries/zelKit/System.h"

#include <array>
#include <atomic>
#include <cerrno>
#include <charconv>
#include <cstdio>
#include <ctime>
#include <exception>
#include <string_view>
#include <system_error>

namespace ZKT
{
namespace
{

int OpenTraceTarget()
{
    const std::string path = Misc::GetVariable("TARNIS_TRACE_FILE");
    if (path.empty())
        return Internals::StandardError;
    const int file = Internals::OpenForAppending(path);
    if (file >= 0)
        return file;
    const std::string reason = std::generic_category().message(errno);
    Internals::Complain("the trace file \"" + path + "\" cannot be opened (" + reason +
                        "); trace lines go to standard error");
    return Internals::StandardError;
}

/// Opened at the first line. Lines come until the very end of the process.
struct TraceTarget
{
    const int file = OpenTraceTarget();

    ~TraceTarget()
    {
        if (file != Internals::StandardError)
            Internals::CloseFile(file);
    }
};

int TraceFile()
{
    static Base::UntilUnload<TraceTarget> target;
    return (*target).file;
}

/// Tells of the first line that the target did not take. The later ones are tried all the same: a
/// disk does not stay full for ever.
void TellOnce(int error)
{
    static std::atomic_flag told;
    if (!told.test_and_set())
        Internals::Complain("trace lines are lost (" + std::generic_category().message(error) +
                            "); this is told once");
}

std::string TimeText(std::uint64_t milliseconds)
{
    std::tm date{};
    LocalDate(milliseconds, date);
    std::array<char, 64> text{};
    const std::size_t length = std::strftime(text.data(), text.size(), "%Y-%m-%d %H:%M:%S", &date);
    std::snprintf(text.data() + length, text.size() - length, ".%03u",
                  static_cast<unsigned>(milliseconds % 1000));
    return text.data();
}

template <class Number> std::string TextOf(Number number, int base)
{
    std::array<char, 24> text{};
    const auto result = std::to_chars(text.data(), text.data() + text.size(), number, base);
    return std::string(text.data(), result.ptr);
}

} // namespace

namespace Internals
{

CTraceStreamBuffer::CTraceStreamBuffer(std::uint32_t level, const Misc::CModuleInfo& module,
                                       const char* sourcePath, const char* functionName,
                                       std::uint32_t line)
    : m_Level(level), m_Module(module), m_SourcePath(sourcePath), m_FunctionName(functionName),
      m_Line(line)
{
}

CTraceStreamBuffer::~CTraceStreamBuffer()
{
    try
    {
        std::string line = TimeText(Misc::now());
        line += ' ' + m_Module.GetName() + ' ' + TextOf(m_Level, 10) + ' ' + m_SourcePath + ' ' +
                m_FunctionName + ':' + TextOf(m_Line, 10) + " [" +
                TextOf(Internals::ThreadNumber(), 10) + "] ";
        line += Misc::Printable(m_Text);
        line += '\n';
        if (const int error = WriteText(TraceFile(), line); error != 0)
            TellOnce(error);
    }
    catch (const std::exception&)
    {
        // No memory for a trace line: it is left out.
    }
}

Output_Streams::CFormatStream CTraceStreamBuffer::Open(const char* format)
{
    return Output_Streams::CFormatStream(*this, format);
}

} // namespace Internals

namespace Output_Streams
{

CFormatStream::CFormatStream(Internals::CTraceStreamBuffer& buffer, const char* format)
    : m_Buffer(buffer), m_Rest(format != nullptr ? format : "")
{
}

CFormatStream::~CFormatStream()
{
    try
    {
        m_Buffer.m_Text += m_Text;
        m_Buffer.m_Text += m_Rest;
    }
    catch (const std::exception&)
    {
        // As in the buffer's destructor.
    }
}

char CFormatStream::NextPlace()
{
    for (const char* at = m_Rest; *at != '\0'; ++at)
    {
        const char letter = at[1];
        if (*at == '%' && (letter == 'd' || letter == 's' || letter == 'x'))
        {
            m_Text.append(m_Rest, at);
            m_Rest = at + 2;
            return letter;
        }
    }
    return '\0';
}

CFormatStream& CFormatStream::operator<<(const char* text)
{
    if (NextPlace() != '\0')
        m_Text += text != nullptr ? text : "(null)";
    return *this;
}

CFormatStream& CFormatStream::operator<<(const std::string& text)
{
    if (NextPlace() != '\0')
        m_Text += text;
    return *this;
}

CFormatStream& CFormatStream::operator<<(FormatInt number)
{
    const char place = NextPlace();
    if (place == 'x')
        m_Text += TextOf(number.GetBits(), 16);
    else if (place != '\0' && number.IsSigned())
        m_Text += TextOf(static_cast<std::int64_t>(number.GetValue()), 10);
    else if (place != '\0')
        m_Text += TextOf(number.GetValue(), 10);
    return *this;
}

} // namespace Output_Streams
} // namespace ZKT
