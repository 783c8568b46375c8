// Finding a drive again among those that were remembered.
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

namespace Host
{

/// What a drive is known by from one look, or one run, to the next: texts as a state file gives
/// them back.
struct Identity
{
    std::string label;
    std::string model;
    std::string serial;

    /// Whether it has never answered.
    bool IsNameless() const { return model.empty() && serial.empty(); }
};

/// @param label, model, serial  as the drive has them
Identity KeptIdentity(const std::string& label, const std::string& model,
                      const std::string& serial);

/// For each drive that is present, its position among those that are remembered, or nothing. Model
/// and serial number find it wherever it is now; where several have the same, and where there is no
/// serial number, its label helps. One that is silent is the one that had its label, and one that
/// was silent is the one that has it now. None is found twice; of equals the first one counts.
std::vector<std::optional<std::size_t>> FindAgain(const std::vector<Identity>& present,
                                                  const std::vector<Identity>& remembered);

} // namespace Host
