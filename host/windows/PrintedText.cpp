#include "host/PrintedText.h"

#include <cstddef>
#include <cstdint>
#include <cstdio>

#include <fcntl.h>
#include <io.h>
#include <windows.h>

namespace
{

constexpr int standardOutput = 1;

/// A file that goes when it is closed. @return its descriptor, or -1
int OpenTemporaryFile()
{
    wchar_t folder[MAX_PATH + 1];
    wchar_t name[MAX_PATH];
    const DWORD length = GetTempPathW(MAX_PATH + 1, folder);
    if (length == 0 || length > MAX_PATH || GetTempFileNameW(folder, L"tar", 0, name) == 0)
        return -1;
    const HANDLE file =
        CreateFileW(name, GENERIC_READ | GENERIC_WRITE, FILE_SHARE_DELETE, nullptr, CREATE_ALWAYS,
                    FILE_ATTRIBUTE_TEMPORARY | FILE_FLAG_DELETE_ON_CLOSE, nullptr);
    if (file == INVALID_HANDLE_VALUE)
    {
        DeleteFileW(name);
        return -1;
    }
    const int descriptor =
        ::_open_osfhandle(reinterpret_cast<std::intptr_t>(file), _O_BINARY | _O_NOINHERIT);
    if (descriptor < 0)
        CloseHandle(file);
    return descriptor;
}

} // namespace

namespace Host
{

PrintedText::PrintedText() : m_File(OpenTemporaryFile())
{
    if (m_File < 0)
        return;
    std::fflush(stdout);
    m_Output = ::_dup(standardOutput);
    if (m_Output >= 0)
        ::_dup2(m_File, standardOutput);
}

PrintedText::~PrintedText()
{
    End();
    if (m_File >= 0)
        ::_close(m_File);
}

void PrintedText::End()
{
    if (m_Output < 0)
        return;
    std::fflush(stdout);
    ::_dup2(m_Output, standardOutput);
    ::_close(m_Output);
    m_Output = -1;
}

std::string PrintedText::Take()
{
    End();
    std::string text;
    if (m_File < 0 || ::_lseek(m_File, 0, SEEK_SET) != 0)
        return text;
    char block[4096];
    for (int size = 0; (size = ::_read(m_File, block, sizeof block)) > 0;)
        text.append(block, static_cast<std::size_t>(size));
    return text;
}

} // namespace Host
