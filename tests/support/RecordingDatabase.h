// The shared database with an ear in between. An executable that holds these definitions has the
// plug-in use them too: each statement is kept, and a rule may refuse it or end the process.
#pragma once

#include "contracts/zelStore.h"
#include "tests/support/OtherProgram.h"

#include <functional>
#include <mutex>
#include <string>
#include <vector>

namespace Support
{

/// Its lists are to be looked at while the worker of the plug-in stands still.
struct RecordingDatabase : DatabaseWrapper::DatabaseDAO
{
    static RecordingDatabase& Get();
    std::vector<std::string> query(std::string statement) override;

    using Rule = std::function<void(const std::string& statement)>;

    /// The rule sees each statement from now on before it is carried out; what it throws refuses
    /// the statement. A pass may run meanwhile.
    void SetRule(Rule rule);

    std::vector<std::string> sent;
    std::vector<std::string> refused; ///< by the real database, and why
    DatabaseWrapper::DatabaseDAO* real = nullptr;

  private:
    std::mutex m_Lock; ///< guards the rule and the lists
    Rule m_Rule;
};

/// Refuses the statements that hold one of some texts, with "no".
/// @param texts  "|" between them; an empty one stands in every statement
std::function<void(const std::string&)> Refusing(const std::string& texts);

} // namespace Support
