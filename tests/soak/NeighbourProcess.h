// A second process on the database.
#pragma once

#include <string>

#include <sys/types.h>

namespace Support
{

/// Another program of the host: it keeps a drive of its own in the database, holds locks for
/// moments and now and then for longer than anybody waits, and looks whether the file is sound.
class NeighbourProcess
{
  public:
    explicit NeighbourProcess(const std::string& database);
    ~NeighbourProcess();
    NeighbourProcess(const NeighbourProcess&) = delete;
    NeighbourProcess& operator=(const NeighbourProcess&) = delete;

    /// Holds no lock from here on. @return false: it found something wrong, printed it and ended
    bool Pause();
    void GoOn();

    /// What the process does when its executable is started by the one above.
    /// @return its exit code
    static int Run(const std::string& database);

    static constexpr const char* Task = "TARNIS_TEST_NEIGHBOUR"; ///< variable that holds the file

  private:
    pid_t m_Process = -1;
    int m_Line = -1; ///< a socket
};

} // namespace Support
