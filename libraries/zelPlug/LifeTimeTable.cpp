#include "contracts/zelPlug/LifeTimeTable.h"

#include "contracts/zelPlug/PluginHelper.h"
#include "libraries/zelPlug/ModelText.h"
#include "libraries/zelPlug/VendorWords.h"

#include <algorithm>

namespace PI
{
namespace
{

// The last column, where a rating comes from, is for readers of the rows.
#define LIFETIME_ROW(vendor, model, compareLength, rating, flag, origin)                           \
    {vendor, model, compareLength, rating, flag},
const CSATALifeTimeData sataRows[] = {
#include "vocabulary/rows/SataLifeTime.inc"
};
const CSATALifeTimeData nvmeRows[] = {
#include "vocabulary/rows/NvmeLifeTime.inc"
};
#undef LIFETIME_ROW

#define LIFETIME_ROW(vendor, model, rating, flag, origin) {vendor, model, rating, flag},
const CSASLifeTimeData sasRows[] = {
#include "vocabulary/rows/SasLifeTime.inc"
};
#undef LIFETIME_ROW

const CSATALifeTimeData* FindWhole(std::string_view text)
{
    const auto row = std::ranges::find(sataRows, text, &CSATALifeTimeData::m_Model);
    return row == std::ranges::end(sataRows) ? nullptr : row;
}

std::size_t CommonBeginning(std::string_view a, std::string_view b)
{
    return static_cast<std::size_t>(std::ranges::mismatch(a, b).in1 - a.begin());
}

/// The leading characters alone do not tell siblings apart whose ratings differ threefold
/// (MZ7L31T9HBLT, MZ7L31T9HBNA), so the row that goes along furthest wins.
const CSATALifeTimeData* FindByBeginning(std::string_view text)
{
    const CSATALifeTimeData* best = nullptr;
    std::size_t longest = 0;
    for (const CSATALifeTimeData& row : sataRows)
    {
        const std::size_t common = CommonBeginning(text, row.m_Model);
        if (row.m_CompareLength != 0 && common >= row.m_CompareLength && common > longest)
        {
            best = &row;
            longest = common;
        }
    }
    return best;
}

/// Asks for the text, then for what is left of it without one leading vendor word after another.
template <typename Find> const CSATALifeTimeData* FindStripped(std::string_view text, Find find)
{
    while (!text.empty())
    {
        if (const CSATALifeTimeData* row = find(text))
            return row;
        if (!Internals::IsLeadingWord(Internals::TakeWord(text)))
            return nullptr;
    }
    return nullptr;
}

} // namespace

std::span<const CSATALifeTimeData> SataLifeTimeTable()
{
    return sataRows;
}

std::span<const CSASLifeTimeData> SasLifeTimeTable()
{
    return sasRows;
}

std::span<const CSATALifeTimeData> NvmeLifeTimeTable()
{
    return nvmeRows;
}

const CSATALifeTimeData* CPluginHelper::findLifeTimeProp(const std::string& product)
{
    const Internals::ModelText text(product);
    const CSATALifeTimeData* row = FindStripped(text.View(), FindWhole);
    return row ? row : FindStripped(text.View(), FindByBeginning);
}

} // namespace PI
