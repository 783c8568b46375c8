#include "host/Identity.h"

#include "host/StateFile.h"

#include <map>
#include <set>
#include <tuple>

namespace Host
{

namespace
{

using Key = std::tuple<std::string, std::string, std::string>;

/// Finds, of those that are not found yet, the drives whose keys are the same.
template <class PresentKey, class RememberedKey>
void Find(const std::vector<Identity>& present, const std::vector<Identity>& remembered,
          PresentKey presentKey, RememberedKey rememberedKey,
          std::vector<std::optional<std::size_t>>& found)
{
    std::set<std::size_t> taken;
    for (const auto& position : found)
        if (position)
            taken.insert(*position);
    std::multimap<Key, std::size_t> free;
    for (std::size_t i = 0; i < remembered.size(); ++i)
        if (const std::optional<Key> key = rememberedKey(remembered[i]); key && !taken.contains(i))
            free.emplace(*key, i);
    for (std::size_t i = 0; i < present.size(); ++i)
    {
        const std::optional<Key> key = found[i] ? std::nullopt : presentKey(present[i]);
        const auto match = key ? free.lower_bound(*key) : free.end(); // the first of equals
        if (match != free.end() && match->first == *key)
        {
            found[i] = match->second;
            free.erase(match);
        }
    }
}

std::optional<Key> Whole(const Identity& one)
{
    return Key{one.serial, one.model, one.label};
}

std::optional<Key> WithoutLabel(const Identity& one)
{
    return one.serial.empty() ? std::nullopt : std::optional(Key{one.serial, one.model, ""});
}

std::optional<Key> LabelAlone(const Identity& one)
{
    return Key{"", "", one.label};
}

std::optional<Key> LabelOfNameless(const Identity& one)
{
    return one.IsNameless() ? LabelAlone(one) : std::nullopt;
}

} // namespace

Identity KeptIdentity(const std::string& label, const std::string& model, const std::string& serial)
{
    return {KeptText(label), KeptText(model), KeptText(serial)};
}

std::vector<std::optional<std::size_t>> FindAgain(const std::vector<Identity>& present,
                                                  const std::vector<Identity>& remembered)
{
    std::vector<std::optional<std::size_t>> found(present.size());
    Find(present, remembered, Whole, Whole, found);
    Find(present, remembered, WithoutLabel, WithoutLabel, found);
    Find(present, remembered, LabelOfNameless, LabelAlone, found);
    Find(present, remembered, LabelAlone, LabelOfNameless, found);
    return found;
}

} // namespace Host
