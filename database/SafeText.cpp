#include "database/SafeText.h"

#include <boost/algorithm/string/replace.hpp>

#include <algorithm>
#include <limits>

namespace DatabaseORM
{
namespace
{

std::string WithDoubled(const char* quote, const char* doubled, std::string text)
{
    text = KeptText(std::move(text));
    if (text.find(quote) != std::string::npos)
        boost::algorithm::replace_all(text, quote, doubled);
    return text;
}

} // namespace

std::string KeptText(std::string text)
{
    std::replace(text.begin(), text.end(), '\0', ' ');
    return text;
}

std::uint64_t KeptNumber(std::uint64_t number)
{
    return number <= static_cast<std::uint64_t>(std::numeric_limits<std::int64_t>::max())
               ? number
               : RaidDataModels::Kinds::Unsigned::Unset();
}

std::string ValueText(std::string text)
{
    return WithDoubled("\"", "\"\"", std::move(text));
}

std::string ConditionText(std::string text)
{
    return WithDoubled("'", "''", std::move(text));
}

} // namespace DatabaseORM
