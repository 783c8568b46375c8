// What a host needs of the system besides its output; linux/ and windows/ hold the ways.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace Host
{

/// The arguments of main, in UTF-8 whatever the system calls them by.
std::vector<std::string> Arguments(int argc, char** argv);

/// Whether texts for people may be UTF-8, by the locale that the environment names. The program's
/// own locale stays as it is, since numbers and times of files must not follow it.
bool TakesUtf8();

/// What the plug-in's file is called, and what stands between folders in the names of files.
extern const char* const pluginFileName;
extern const char* const folderSeparators;

/// What help has to say of this system: what it takes to read this computer.
extern const char* const systemHelpText;

/// The plug-in's file beside this program; empty when there is none.
std::string PluginBesideProgram();

/// Loads a library. A plain name is looked for where the system looks for libraries.
/// @return null, and the reason
void* OpenLibrary(const std::string& path, std::string& reason);
/// @return null, and the reason
void* FindSymbol(void* library, const char* name, std::string& reason);
void CloseLibrary(void* library);

/// Whether a line can be printed on standard error without waiting for its reader.
bool HasRoomForError();

/// A bell that one thread rings and another sleeps by.
class Doorbell
{
  public:
    /// @throws Failure
    Doorbell();
    ~Doorbell();
    Doorbell(const Doorbell&) = delete;
    Doorbell& operator=(const Doorbell&) = delete;

    void Ring();
    /// Before what was rung for is taken.
    void Answer();

    /// What a Wakeup waits for: a descriptor on Linux, a handle on Windows.
    std::intptr_t Waitable() const { return m_Waitable; }

  private:
    std::intptr_t m_Waitable;
};

} // namespace Host
