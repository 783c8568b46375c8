// Finding a drive again among those that were remembered.
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

namespace Host
{

/// What a drive is known by from one look, or one run, to the next.
struct Identity
{
    std::string label;
    std::string model;
    std::string serial; ///< empty: it was not asked, or did not answer
};

/// For each drive that is present, its position among those that are remembered, or nothing. Model
/// and serial number find it wherever it is now, and where several have the same, its number does.
/// One that is silent is the one that had its number. None is found twice.
std::vector<std::optional<std::size_t>> FindAgain(const std::vector<Identity>& present,
                                                  const std::vector<Identity>& remembered);

} // namespace Host
