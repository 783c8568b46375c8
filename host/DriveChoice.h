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

class DriveChoice
{
  public:
    /// @param options  outlive this
    explicit DriveChoice(const Options& options) : m_Options(options) {}

    /// Looks up the names that the user gave. To be called before the others.
    void Resolve(const std::vector<Drive>& drives);

    bool Has(const Drive& drive) const { return Has(drive.label, drive.serial); }
    bool Has(const KnownDrive& drive) const { return Has(drive.label, drive.serial); }
    bool Has(const Happening& happening) const;

  private:
    bool Has(const std::string& label, const std::string& serial) const;

    const Options& m_Options;
    std::set<std::string> m_Only;    ///< labels; empty: all
    std::set<std::string> m_Ignored; ///< labels of those that are ignored by serial number
};

} // namespace Host
