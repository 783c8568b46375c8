#include "host/Lists.h"

#include <algorithm>
#include <cstddef>
#include <iterator>

namespace Host
{

std::string Joined(const std::vector<std::string>& texts, const char* separator)
{
    std::string line;
    for (const std::string& text : texts)
        line += (line.empty() ? "" : separator) + text;
    return line;
}

std::string Enumerated(const std::vector<std::string>& texts, const char* word)
{
    if (texts.size() < 2)
        return Joined(texts);
    const std::vector<std::string> front(texts.begin(), std::prev(texts.end()));
    return Joined(front, ", ") + ' ' + word + ' ' + texts.back();
}

std::string Shortened(const std::vector<std::string>& texts)
{
    constexpr std::size_t most = 8;
    const std::size_t shown = std::min(texts.size(), most);
    const std::vector<std::string> front(texts.begin(),
                                         texts.begin() + static_cast<std::ptrdiff_t>(shown));
    return Joined(front, ", ") +
           (texts.size() > most ? " and " + std::to_string(texts.size() - most) + " more" : "");
}

} // namespace Host
