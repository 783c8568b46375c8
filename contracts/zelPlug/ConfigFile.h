#pragma once

#include "contracts/Export.h"
#include "vocabulary/Identifiers.h"

#include <boost/filesystem/path.hpp>

#include <string>
#include <vector>

namespace PI
{

/// A settings file: lines of "key=value".
///
/// Blanks around the key do not count, nor does the case of ASCII letters. The value is all that
/// stands behind the first "=", blanks included, without the line's end (LF or CR LF). Of a
/// repeated key the first line holds. Lines without "=", lines that begin with "#", ";" or "[", and
/// a byte order mark at the start are no keys and are kept. A file of more than 64 MiB, or one that
/// is not a regular file, counts as unreadable. Symbolic links are followed, except those in a
/// folder that other users may write to: they may have made them, and the file is unreadable.
///
/// A bare file name is looked for in the folder TARNIS_CONFIG_DIR; without it in /etc/tarnis if
/// that exists, else in $XDG_CONFIG_HOME/tarnis ($HOME/.config/tarnis).
///
/// Every call opens the file anew. Not synchronised: one writer at a time.
class ZELPLUG_API CConfigFile
{
  public:
    CConfigFile();

    void SetFileName(const boost::filesystem::path& name) { m_FileName = name; }

    /// The two numbers choose a place in a file with several sections; -1 and -1 mean the file as
    /// a whole. No other form is in use: any other place is not found, and is refused with 20006.
    /// @return 0; 20014 (CONFIG_VALUE_NOT_FOUND) with `value` untouched when there is no such key,
    ///         no such file, or no way to read it
    /// @throws std::bad_alloc, which tells nothing of the file
    _ERROR_CODE ReadKeyValue(const std::string& key, std::string& value, int section,
                             int index) const;

    /// Replaces the value in the first line of the key, or appends a line. All else stays as it is,
    /// byte for byte, and so do the file's permissions. The file is written beside the old one and
    /// put in its place in one step, so that a crash leaves the old file or the new one. Creates
    /// the file where it is missing, with mode 0640, and the folder, with 0750, both with the group
    /// of the folder above; on Windows they inherit their rights.
    /// @return 0; 20006 (INVALID_PARAMETER) for a key or value that no line can hold;
    ///         20018 (WRITE_ACCESS_DENIED) when the file could not be read or put in place, which
    ///         leaves the old file as it was
    _ERROR_CODE WriteKeyValue(const std::string& key, const std::string& value, int section,
                              int index);

    /// Tells of the settings files of this process that could not be read when that was last tried,
    /// so that their keys counted as missing. A file that is not there is none of them, and one
    /// that can be read again is none any more. Any thread, at any time; opens no file.
    /// @return for each: which file, why, and what to do, in one line; sorted
    static std::vector<std::string> GetUnreadableFiles();

  private:
    boost::filesystem::path m_FileName;
};

} // namespace PI
