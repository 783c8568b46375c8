// tarnisctl while one call after the other fails.
#include "tests/faults/Positions.h"
#include "tests/host/Process.h"
#include "tests/support/MachineBuilder.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <regex>
#include <sstream>

namespace
{

using nlohmann::json;

const Arguments verbs[] = {
    {"show"},
    {"show", "--json"},
    {"check"},
    {"watch", "--for", "2", "--json"},
    {"get", "disk0", "TEMPERATURE"},
    {"set", "plugin", "POLL_INTERVAL", "40"},
    {"explain", "20007"},
};

class HostFaults : public testing::TestWithParam<const char*>
{
  protected:
    /// @param fault  at position 0: nothing fails
    static Outcome RunAt(const TestFolder& folder, const Faults::Drawn& fault)
    {
        const std::string machine = folder.Write("machine.json", Support::MachineOf(2).dump());
        Arguments arguments = verbs[fault.scenario];
        if (arguments.front() != "explain")
            arguments.insert(arguments.end(), {"--machine", machine});
        Outcome outcome = RunTarnisctl(
            arguments, {{"LD_PRELOAD", TARNIS_BIN_DIR "/preload.so"},
                        {"CLOCK_SPEED", "20"},
                        {"FAULTS_COUNT", folder.File("count")},
                        {"TARNIS_CONFIG_DIR", folder.Path()},
                        {"TARNIS_DATABASE", folder.File("rows.db")},
                        {"FAULTS", GetParam() + (':' + std::to_string(fault.position)) + ':' +
                                       Faults::TimesText(fault.times)}});
        const std::regex moment(R"(\d{4}-\d\d-\d\dT[0-9:.]+Z|\d{13}|"readingsAgeMs": *\d+)");
        outcome.out = std::regex_replace(outcome.out, moment, "");
        for (std::size_t at = 0; (at = outcome.out.find(folder.Path())) != std::string::npos;)
            outcome.out.erase(at, folder.Path().size());
        return outcome;
    }

    /// The texts from where they differ on.
    static std::string Difference(const std::string& right, const std::string& seen)
    {
        const auto [one, other] = std::ranges::mismatch(right, seen);
        return "not '" + std::string(one, right.end()).substr(0, 100) + "' but '" +
               std::string(other, seen.end()).substr(0, 100) + "'\n";
    }

    /// @return what is wrong; empty when the output is as without a fault, or the program told of a
    ///         failure
    static std::string Judge(const Outcome& right, const Outcome& seen, bool isCheck)
    {
        const bool isTold = Holds(seen.err, "tarnisctl: ") || Holds(seen.err, ": warning: ");
        std::string wrong;
        if (seen.exitCode < 0 || seen.exitCode > 4)
            wrong = "ended by a signal";
        else if (seen.exitCode == 0 && seen.out != right.out && !isTold)
            wrong = "another answer";
        else if (seen.exitCode != right.exitCode && !isTold && !(isCheck && !seen.out.empty()))
            wrong = "a failure that is not told";
        return wrong.empty() ? wrong
                             : wrong + ": exit code " + std::to_string(seen.exitCode) + ' ' +
                                   Difference(right.out, seen.out) + seen.err;
    }
};

TEST_P(HostFaults, AreTold)
{
    std::vector<Outcome> right, rightAgain;
    std::vector<long> calls;
    for (std::size_t verb = 0; verb < std::size(verbs); ++verb)
    {
        const TestFolder folder;
        for (auto* outcomes : {&right, &rightAgain})
            outcomes->push_back(RunAt(folder, {verb, 0, Faults::Times::Once}));
        calls.push_back(std::stol("0" + folder.Read("count")));
        ASSERT_EQ(right.back().exitCode, 0) << right.back().err;
    }
    const auto run = [&](const Faults::Drawn& fault)
    {
        const std::size_t verb = fault.scenario;
        const std::string where =
            "FAULTS=" + std::string(GetParam()) + ':' + std::to_string(fault.position) + ':' +
            Faults::TimesText(fault.times) + " tarnisctl " + verbs[verb].front() + '\n';
        const TestFolder folder;
        const Outcome seen = RunAt(folder, fault);
        const bool isReached = std::stol("0" + folder.Read("count")) >= fault.position;
        const std::string wrong = Judge(right[verb], seen, verbs[verb].front() == "check");
        EXPECT_TRUE(wrong.empty()) << where << wrong;
        const Outcome after = RunAt(folder, {verb, 0, Faults::Times::Once});
        if (after.exitCode != 0 ||
            (after.out != right[verb].out && after.out != rightAgain[verb].out))
            ADD_FAILURE() << where << "afterwards exit code " << after.exitCode << ' '
                          << Difference(right[verb].out, after.out) << after.err;
        return isReached;
    };
    Faults::ForPositions(calls, 12, run);
}

INSTANTIATE_TEST_SUITE_P(Boundaries, HostFaults,
                         testing::Values("memory", "open", "read", "write", "lock", "map", "stat",
                                         "change", "process"),
                         [](const auto& one) { return std::string(one.param); });

} // namespace
