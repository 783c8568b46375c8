// Which drives the user wants to hear of.
#pragma once

#include "host/ChangeInbox.h"
#include "host/Changes.h"
#include "host/Options.h"

#include <set>
#include <string>
#include <vector>

namespace Host
{

/// A drive that is named by its number is whatever has that number. One that is named otherwise is
/// followed wherever it goes.
class DriveChoice
{
  public:
    /// @param options  outlive this
    explicit DriveChoice(const Options& options) : m_Options(options) {}

    /// Looks up the names that the user gave. To be called before the others.
    void Resolve(std::vector<Drive> drives);

    bool Has(const Drive& drive) const { return Has(drive.label, drive.serial); }
    bool Has(const KnownDrive& drive) const { return Has(drive.label, drive.serial); }
    bool Has(const Happening& happening) const;

  private:
    bool Has(const std::string& label, const std::string& serial) const;

    const Options& m_Options;
    std::set<std::string> m_Labels;  ///< of drives that are named by number
    std::set<std::string> m_Serials; ///< of the others
    // At the start, for what tells no serial number: some events, and drives that are silent.
    std::set<std::string> m_LabelsOfSerials;
    std::set<std::string> m_Ignored;
};

} // namespace Host
