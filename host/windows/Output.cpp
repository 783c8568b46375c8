#include "host/Failure.h"
#include "host/windows/Channel.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <string>
#include <system_error>
#include <utility>

#include <fcntl.h>
#include <io.h>
#include <process.h>

namespace
{

constexpr int standardOutput = 1;
constexpr int standardError = 2;

[[noreturn]] void FailWriting(const std::error_category& category, int error)
{
    throw Host::Failure(Host::EXIT_PLUGIN, "standard output: " + category.message(error));
}

[[noreturn]] void FailWriting(DWORD error)
{
    FailWriting(std::system_category(), static_cast<int>(error));
}

HANDLE HandleOf(int descriptor)
{
    return reinterpret_cast<HANDLE>(::_get_osfhandle(descriptor));
}

bool IsReaderGone(DWORD error)
{
    return error == ERROR_BROKEN_PIPE || error == ERROR_NO_DATA ||
           error == ERROR_PIPE_NOT_CONNECTED;
}

// Without this a database file could be opened as descriptor 1 or 2 and take what is printed.
void FillStandardDescriptors()
{
    int opened = 0;
    while (opened >= 0 && opened <= standardError)
        opened = ::_open("NUL", _O_RDWR | _O_BINARY | _O_NOINHERIT);
    if (opened > standardError)
        ::_close(opened);
}

/// What is changed on the console belongs to all its programs. It is put back at the very end of
/// the process, since the plug-in and a failure print until then.
class ConsoleChanges
{
  public:
    ~ConsoleChanges() { Undo(); }

    /// Has a console take UTF-8. @return whether it is one
    bool TakeUtf8(HANDLE console)
    {
        DWORD mode = 0;
        if (GetConsoleMode(console, &mode) == 0)
            return false;
        if (m_CodePage == 0)
        {
            m_CodePage = GetConsoleOutputCP();
            SetConsoleOutputCP(CP_UTF8);
            SetConsoleCtrlHandler(OnConsoleEvent, TRUE);
        }
        return true;
    }

    /// Has it take the usual sequences for colours. @return whether it does
    bool TakeColour(HANDLE console)
    {
        // The caller's handle is closed earlier.
        if (GetConsoleMode(console, &m_Mode) == 0 ||
            DuplicateHandle(GetCurrentProcess(), console, GetCurrentProcess(), &m_Coloured, 0,
                            FALSE, DUPLICATE_SAME_ACCESS) == 0)
            return false;
        return SetConsoleMode(m_Coloured, m_Mode | ENABLE_PROCESSED_OUTPUT |
                                              ENABLE_VIRTUAL_TERMINAL_PROCESSING) != 0;
    }

  private:
    void Undo() const
    {
        if (m_Coloured != nullptr)
            SetConsoleMode(m_Coloured, m_Mode);
        if (m_CodePage != 0)
            SetConsoleOutputCP(m_CodePage);
    }

    static BOOL WINAPI OnConsoleEvent(DWORD kind);

    UINT m_CodePage = 0;
    DWORD m_Mode = 0;
    HANDLE m_Coloured = nullptr;
};

ConsoleChanges consoleChanges;

// Without a watch the system ends the process right after this.
BOOL WINAPI ConsoleChanges::OnConsoleEvent(DWORD)
{
    consoleChanges.Undo();
    return FALSE;
}

std::size_t ConsoleColumns(HANDLE console)
{
    CONSOLE_SCREEN_BUFFER_INFO facts = {};
    if (GetConsoleScreenBufferInfo(console, &facts) == 0)
        return 80;
    return std::max<std::size_t>(facts.srWindow.Right - facts.srWindow.Left + 1,
                                 Host::leastColumns);
}

} // namespace

namespace Host
{

Output::Channel::Channel(int descriptor)
    : m_Descriptor{descriptor},
      m_Thread(reinterpret_cast<HANDLE>(::_beginthreadex(nullptr, 0, RunThread, this, 0, nullptr)))
{
    if (m_Thread == nullptr)
        throw Failure(EXIT_PLUGIN, "standard output: the system gives no thread to write it");
}

Output::Channel::~Channel()
{
    WaitForSingleObject(m_Idle.Get(), INFINITE);
    m_Ends = true;
    m_Work.Set();
    WaitForSingleObject(m_Thread, INFINITE);
    CloseHandle(m_Thread);
}

Output::Channel::Descriptor::~Descriptor()
{
    if (number >= 0)
        ::_close(number);
}

void Output::Channel::Close()
{
    if (::_close(std::exchange(m_Descriptor.number, -1)) != 0)
        FailWriting(std::generic_category(), errno);
}

void Output::Channel::Send(std::string_view text)
{
    Finish();
    m_Text = text;
    m_Idle.Reset();
    m_Work.Set();
}

void Output::Channel::Finish()
{
    WaitForSingleObject(m_Idle.Get(), INFINITE);
    Check();
}

void Output::Channel::Abandon(DWORD milliseconds)
{
    // Tried again and again: between two writes there is nothing to break off.
    constexpr DWORD pause = 5;
    constexpr int attempts = 100;
    DWORD result = WaitForSingleObject(m_Idle.Get(), milliseconds);
    for (int attempt = 0; attempt < attempts && result == WAIT_TIMEOUT; ++attempt)
    {
        CancelSynchronousIo(m_Thread);
        result = WaitForSingleObject(m_Idle.Get(), pause);
    }
    m_IsStuck = result == WAIT_TIMEOUT;
}

HANDLE Output::Channel::SystemHandle() const
{
    return HandleOf(m_Descriptor.number);
}

bool Output::Channel::HasNoReader() const
{
    return IsReaderGone(m_Error);
}

void Output::Channel::Check() const
{
    if (m_Error != ERROR_SUCCESS && m_Error != ERROR_OPERATION_ABORTED && !IsReaderGone(m_Error))
        FailWriting(m_Error);
}

unsigned __stdcall Output::Channel::RunThread(void* channel)
{
    static_cast<Channel*>(channel)->Run();
    return 0;
}

void Output::Channel::Run()
{
    while (WaitForSingleObject(m_Work.Get(), INFINITE) == WAIT_OBJECT_0 && !m_Ends)
    {
        m_Error = WriteAll();
        m_Idle.Set();
    }
}

DWORD Output::Channel::WriteAll() const
{
    for (std::string_view rest = m_Text; !rest.empty();)
    {
        DWORD written = 0;
        const auto size = static_cast<DWORD>(std::min<std::size_t>(rest.size(), 1 << 16));
        if (WriteFile(HandleOf(m_Descriptor.number), rest.data(), size, &written, nullptr) == 0)
            return GetLastError();
        rest.remove_prefix(written);
    }
    return ERROR_SUCCESS;
}

Output::Output()
{
    // Set aside before anything is opened, so that it cannot be taken for something else.
    const int descriptor = ::_dup(standardOutput);
    const bool isOpen = descriptor >= 0 && HandleOf(descriptor) != INVALID_HANDLE_VALUE &&
                        GetFileType(HandleOf(descriptor)) != FILE_TYPE_UNKNOWN;
    FillStandardDescriptors();
    if (::_dup2(standardError, standardOutput) != 0)
        FailWriting(std::generic_category(), errno);
    ::_setmode(standardOutput, _O_BINARY);
    ::_setmode(standardError, _O_BINARY);
    consoleChanges.TakeUtf8(HandleOf(standardError));
    // Lines of the plug-in appear when they are printed, not at the end of the process. The C
    // library of Windows takes a line's buffering for that of a block.
    std::setvbuf(stdout, nullptr, _IONBF, 0);
    if (!isOpen)
        return;
    if (consoleChanges.TakeUtf8(HandleOf(descriptor)))
    {
        m_IsTerminal = true;
        m_Columns = ConsoleColumns(HandleOf(descriptor));
    }
    m_Channel = std::make_unique<Channel>(descriptor);
}

Output::~Output()
{
    if (m_Channel && m_Channel->IsStuck())
        m_Channel.release();
}

bool Output::TakeColour()
{
    return !m_IsTerminal || consoleChanges.TakeColour(m_Channel->SystemHandle());
}

void Output::Write(std::string_view text)
{
    if (!m_Channel)
        FailWriting(ERROR_INVALID_HANDLE);
    m_Channel->Send(text);
}

void Output::Close()
{
    if (!m_Channel || m_Channel->IsStuck())
        return;
    m_Channel->Finish();
    m_Channel->Close();
    m_Channel.reset();
}

} // namespace Host
