// Formed texts: names, keys, dates, numbers for a file.
#pragma once

#include <boost/format.hpp>

#include <locale>
#include <string>

namespace NAMESPACE_tarnis
{

/// Fills a format text. The host's own locale has no say: a number that it would group with dots
/// names no disk, and no later start could read it back.
template <class... Values> std::string Formatted(const char* text, const Values&... values)
{
    boost::format format(text, std::locale::classic());
    (void)(format % ... % values);
    return format.str();
}

} // namespace NAMESPACE_tarnis
