// Which calls fail: some that are drawn, for the suite, or one after the other.
#pragma once

#include "tests/faults/Faults.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdlib>
#include <iostream>
#include <random>
#include <string>
#include <vector>

namespace Faults
{

inline constexpr Times AllTimes[] = {Times::Once, Times::Twice, Times::Always};

inline std::string TimesText(Times times)
{
    return times == Times::Once ? "once" : times == Times::Twice ? "twice" : "always";
}

struct Drawn
{
    std::size_t scenario;
    long position; ///< from 1 on
    Times times;
};

/// Draws some positions, by a seed that it prints and TARNIS_TEST_FAULTS can name. Where that is
/// "all" takes one after the other until there is no such call any more; "all:5000" begins there.
/// @param calls  of each scenario when nothing fails
/// @param run  plays the scenario with this fault, and returns whether the call was reached
template <class Run> void ForPositions(const std::vector<long>& calls, unsigned few, Run run)
{
    const char* const text = std::getenv("TARNIS_TEST_FAULTS");
    const std::string wanted = text != nullptr ? text : "";
    long runs = 0;
    if (wanted.starts_with("all"))
    {
        const long first = wanted == "all" ? 1 : std::strtol(text + sizeof "all", nullptr, 10);
        for (std::size_t scenario = 0; scenario < calls.size(); ++scenario)
            for (const Times times : AllTimes)
                for (long position = first; run(Drawn{scenario, position, times}); ++position)
                    ++runs;
        std::cout << "faults: " << runs << " calls failed in turn\n";
        return;
    }
    const auto seed = wanted.empty() ? std::random_device{}()
                                     : static_cast<unsigned>(std::strtoul(text, nullptr, 10));
    SCOPED_TRACE("TARNIS_TEST_FAULTS=" + std::to_string(seed) + " draws these");
    std::mt19937 random(seed);
    for (unsigned i = 0; i < few; ++i)
    {
        const std::size_t scenario = random() % calls.size();
        if (calls[scenario] > 0)
            run(Drawn{scenario,
                      1 + static_cast<long>(random() % static_cast<unsigned long>(calls[scenario])),
                      AllTimes[random() % 3]});
    }
}

} // namespace Faults
