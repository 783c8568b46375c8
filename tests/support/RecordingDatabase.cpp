#include "tests/support/RecordingDatabase.h"

#include "database/Storage.h"

#include <boost/algorithm/string.hpp>

#include <dlfcn.h>
#include <stdexcept>
#include <utility>

std::shared_ptr<DatabaseORM::storage_t> DatabaseORM::getDatabasePointer()
{
    // This function has the same name, and comes first.
    void* const real = dlsym(RTLD_NEXT, "_ZN11DatabaseORM18getDatabasePointerEv");
    if (real == nullptr)
        throw std::runtime_error(dlerror());
    auto storage = reinterpret_cast<decltype(&DatabaseORM::getDatabasePointer)>(real)();
    Support::RecordingDatabase::Get().real = storage->dao;
    storage->dao = &Support::RecordingDatabase::Get();
    return storage;
}

namespace Support
{

using Texts = std::vector<std::string>;

RecordingDatabase& RecordingDatabase::Get()
{
    static RecordingDatabase& database = *new RecordingDatabase; // outlives every plug-in
    return database;
}

void RecordingDatabase::SetRule(Rule rule)
{
    const std::lock_guard guard(m_Lock);
    m_Rule = std::move(rule);
}

Texts RecordingDatabase::query(std::string statement)
{
    Rule rule;
    {
        const std::lock_guard guard(m_Lock);
        sent.push_back(statement);
        rule = m_Rule;
    }
    if (rule)
        rule(statement);
    try
    {
        return real->query(statement);
    }
    catch (const DBEXCEPTION::DatabaseException& refusal)
    {
        const std::lock_guard guard(m_Lock);
        refused.push_back(statement.substr(0, 60) + ": " + refusal.what());
        throw;
    }
}

std::function<void(const std::string&)> Refusing(const std::string& texts)
{
    Texts all;
    boost::split(all, texts, boost::is_any_of("|"));
    return [all](const std::string& statement)
    {
        for (const std::string& text : all)
            if (boost::contains(statement, text))
                throw DBEXCEPTION::DatabaseException("no");
    };
}

} // namespace Support
