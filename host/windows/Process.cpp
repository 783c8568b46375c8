#include "host/Process.h"

#include "contracts/zelKit/windows/WideText.h"
#include "host/Failure.h"

#include <map>
#include <system_error>
#include <thread>

#include <windows.h>

#include <shellapi.h>

namespace
{

using Host::Variables;

std::string LastReason()
{
    return std::system_category().message(static_cast<int>(GetLastError()));
}

[[noreturn]] void FailStarting()
{
    throw Host::Failure(Host::EXIT_PLUGIN, LastReason());
}

/// Closed at its end.
class Handle
{
  public:
    explicit Handle(HANDLE handle = nullptr) : m_Handle(handle) {}
    ~Handle()
    {
        if (m_Handle != nullptr && m_Handle != INVALID_HANDLE_VALUE)
            CloseHandle(m_Handle);
    }
    Handle(const Handle&) = delete;
    Handle& operator=(const Handle&) = delete;

    HANDLE Get() const { return m_Handle; }
    HANDLE* Put() { return &m_Handle; }

  private:
    HANDLE m_Handle;
};

struct ByName
{
    bool operator()(const std::wstring& one, const std::wstring& other) const
    {
        return CompareStringOrdinal(one.c_str(), -1, other.c_str(), -1, TRUE) == CSTR_LESS_THAN;
    }
};

/// The variables of this program and the others, as a process takes them: sorted by name.
std::wstring Environment(const Variables& variables)
{
    std::map<std::wstring, std::wstring, ByName> all;
    wchar_t* const own = GetEnvironmentStringsW();
    for (const wchar_t* entry = own; entry != nullptr && *entry != L'\0';)
    {
        const std::wstring text = entry;
        const std::size_t equals = text.find(L'=', 1); // names of drives begin with one
        all[text.substr(0, equals)] = equals == text.npos ? L"" : text.substr(equals + 1);
        entry += text.size() + 1;
    }
    FreeEnvironmentStringsW(own);
    for (const auto& [name, value] : variables)
        all[ZKT::Misc::ToWide(name)] = ZKT::Misc::ToWide(value);
    std::wstring block;
    for (const auto& [name, value] : all)
        block += name + L'=' + value + L'\0';
    return block + L'\0';
}

/// The attribute by which a process gets these handles and no others.
class HandleList
{
  public:
    explicit HandleList(std::vector<HANDLE> handles) : m_Handles(std::move(handles))
    {
        SIZE_T size = 0;
        InitializeProcThreadAttributeList(nullptr, 1, 0, &size);
        m_Memory.resize(size);
        if (InitializeProcThreadAttributeList(Get(), 1, 0, &size) == 0)
            FailStarting();
        if (UpdateProcThreadAttribute(Get(), 0, PROC_THREAD_ATTRIBUTE_HANDLE_LIST, m_Handles.data(),
                                      m_Handles.size() * sizeof(HANDLE), nullptr, nullptr) == 0)
        {
            DeleteProcThreadAttributeList(Get());
            FailStarting();
        }
    }
    ~HandleList() { DeleteProcThreadAttributeList(Get()); }
    HandleList(const HandleList&) = delete;
    HandleList& operator=(const HandleList&) = delete;

    LPPROC_THREAD_ATTRIBUTE_LIST Get()
    {
        return reinterpret_cast<LPPROC_THREAD_ATTRIBUTE_LIST>(m_Memory.data());
    }

  private:
    std::vector<HANDLE> m_Handles;
    std::vector<char> m_Memory;
};

HANDLE OpenNull(DWORD access)
{
    SECURITY_ATTRIBUTES inherited{sizeof inherited, nullptr, TRUE};
    return CreateFileW(L"NUL", access, FILE_SHARE_READ | FILE_SHARE_WRITE, &inherited,
                       OPEN_EXISTING, 0, nullptr);
}

/// This program's standard error, for another process; a file that keeps nothing when it has none.
HANDLE CopyOfError()
{
    HANDLE copy = nullptr;
    if (DuplicateHandle(GetCurrentProcess(), GetStdHandle(STD_ERROR_HANDLE), GetCurrentProcess(),
                        &copy, 0, TRUE, DUPLICATE_SAME_ACCESS) == 0)
        return OpenNull(GENERIC_WRITE);
    return copy;
}

/// @return the process, which does not run yet, and its first thread
PROCESS_INFORMATION Create(const std::string& command, const Variables& variables)
{
    const Handle input(OpenNull(GENERIC_READ));
    const Handle error(CopyOfError());
    HandleList handles({input.Get(), error.Get()});
    STARTUPINFOEXW start = {};
    start.StartupInfo.cb = sizeof start;
    start.StartupInfo.dwFlags = STARTF_USESTDHANDLES;
    start.StartupInfo.hStdInput = input.Get();
    start.StartupInfo.hStdOutput = error.Get();
    start.StartupInfo.hStdError = error.Get();
    start.lpAttributeList = handles.Get();
    std::wstring line = ZKT::Misc::ToWide(command);
    std::wstring environment = Environment(variables);
    PROCESS_INFORMATION created = {};
    constexpr DWORD flags = CREATE_SUSPENDED | CREATE_NEW_PROCESS_GROUP |
                            CREATE_UNICODE_ENVIRONMENT | EXTENDED_STARTUPINFO_PRESENT;
    if (CreateProcessW(nullptr, line.data(), nullptr, nullptr, TRUE, flags, environment.data(),
                       nullptr, &start.StartupInfo, &created) == 0)
        FailStarting();
    return created;
}

} // namespace

namespace Host
{

struct Process::State
{
    explicit State(const PROCESS_INFORMATION& created)
        : process(created.hProcess), thread(created.hThread)
    {
    }
    Handle process;
    Handle thread;
    Handle job{CreateJobObjectW(nullptr, nullptr)}; ///< it and what it starts
    std::thread waiter;
};

void Process::Check(const std::string& command)
{
    int count = 0;
    wchar_t** const words = CommandLineToArgvW(ZKT::Misc::ToWide(command).c_str(), &count);
    const std::wstring program = words != nullptr && count > 0 ? words[0] : L"";
    LocalFree(words);
    const bool isBlank = command.find_first_not_of(" \t") == std::string::npos;
    if (isBlank || SearchPathW(nullptr, program.c_str(), L".exe", 0, nullptr, nullptr) == 0)
        throw UsageFailure("--exec '" + command + "' cannot be run: there is no program " +
                           (isBlank ? "in it" : ZKT::Misc::FromWide(program)));
}

Process::Process(const std::string& command, const Variables& variables,
                 std::function<void()> onEnd)
    : m_State(std::make_unique<State>(Create(command, variables)))
{
    AssignProcessToJobObject(m_State->job.Get(), m_State->process.Get());
    try
    {
        m_State->waiter = std::thread(
            [process = m_State->process.Get(), onEnd = std::move(onEnd)]
            {
                WaitForSingleObject(process, INFINITE);
                onEnd();
            });
    }
    catch (const std::system_error&)
    {
        TerminateProcess(m_State->process.Get(), 1);
        throw Failure(EXIT_PLUGIN, "the system gives no thread");
    }
    ResumeThread(m_State->thread.Get());
}

Process::~Process()
{
    m_State->waiter.join();
}

std::optional<ProcessEnd> Process::End() const
{
    DWORD code = 0;
    if (WaitForSingleObject(m_State->process.Get(), 0) != WAIT_OBJECT_0 ||
        GetExitCodeProcess(m_State->process.Get(), &code) == 0)
        return std::nullopt;
    return ProcessEnd{code == 0, "exit code " + std::to_string(code)};
}

void Process::Kill()
{
    if (TerminateJobObject(m_State->job.Get(), 1) == 0)
        TerminateProcess(m_State->process.Get(), 1);
}

} // namespace Host
