#include "host/Identity.h"

#include <map>
#include <set>
#include <tuple>

namespace Host
{

namespace
{

using Key = std::tuple<std::string, std::string, std::string>;

/// Finds with one kind of key those that are not found yet.
/// @param keyOf  of an identity; two empty texts of a serial number and a label never match
template <class KeyOf>
void Find(const std::vector<Identity>& present, const std::vector<Identity>& remembered,
          KeyOf keyOf, std::vector<std::optional<std::size_t>>& found)
{
    std::set<std::size_t> taken;
    for (const auto& position : found)
        if (position)
            taken.insert(*position);
    std::multimap<Key, std::size_t> free;
    for (std::size_t i = 0; i < remembered.size(); ++i)
        if (!taken.contains(i))
            free.emplace(keyOf(remembered[i]), i);
    for (std::size_t i = 0; i < present.size(); ++i)
        if (const auto match = free.find(keyOf(present[i])); !found[i] && match != free.end())
        {
            found[i] = match->second;
            free.erase(match);
        }
}

} // namespace

std::vector<std::optional<std::size_t>> FindAgain(const std::vector<Identity>& present,
                                                  const std::vector<Identity>& remembered)
{
    std::vector<std::optional<std::size_t>> found(present.size());
    Find(
        present, remembered,
        [](const Identity& one) {
            return Key{one.serial, one.model, one.label};
        },
        found);
    Find(
        present, remembered,
        [](const Identity& one) {
            return Key{one.serial, one.model, one.serial.empty() ? one.label : ""};
        },
        found);
    std::vector<Identity> nameless = remembered;
    for (Identity& one : nameless)
        one.serial = one.model = "";
    Find(
        present, nameless,
        [](const Identity& one) {
            return Key{one.serial, one.model, one.label};
        },
        found);
    return found;
}

} // namespace Host
