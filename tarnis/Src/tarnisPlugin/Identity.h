// Which records of two pictures are the same object: what survives from scan to scan.
#pragma once

#include "tarnis/Src/tarnisAdapter/Adapter.h"
#include "tarnis/Src/tarnisPhysicalDrive/PhysicalDrive.h"

#include <algorithm>
#include <cstdint>
#include <utility>
#include <vector>

namespace NAMESPACE_tarnis
{

inline bool IsSameObject(const CAHCIAdapter& a, const CAHCIAdapter& b)
{
    return a.m_AdapterNumber == b.m_AdapterNumber;
}

inline bool IsSameObject(const CAHCIPhysicalDrive& a, const CAHCIPhysicalDrive& b)
{
    return a.m_AdapterNumber == b.m_AdapterNumber && a.m_DeviceNumber == b.m_DeviceNumber;
}

/// The first record of the same object in a vector, or null.
template <class Records, class Record> auto FindSame(Records& records, const Record& wanted)
{
    const auto found =
        std::find_if(records.begin(), records.end(),
                     [&](const Record& record) { return IsSameObject(record, wanted); });
    return found == records.end() ? nullptr : &*found;
}

/// The drives of a vector, to find many of them. Stands until the vector changes.
template <class Records> class DriveIndex
{
    using Drive = decltype(&*std::declval<Records&>().begin());

  public:
    explicit DriveIndex(Records& drives)
    {
        m_Drives.reserve(drives.size());
        for (auto& drive : drives)
            m_Drives.push_back(&drive);
        // Of one object the first record counts, and it stays in front.
        std::stable_sort(m_Drives.begin(), m_Drives.end(),
                         [](Drive one, Drive other) { return KeyOf(*one) < KeyOf(*other); });
    }

    /// As FindSame.
    Drive Find(const CAHCIPhysicalDrive& wanted) const
    {
        const auto found =
            std::lower_bound(m_Drives.begin(), m_Drives.end(), KeyOf(wanted),
                             [](Drive drive, const auto& key) { return KeyOf(*drive) < key; });
        return found == m_Drives.end() || !IsSameObject(**found, wanted) ? nullptr : *found;
    }

  private:
    static std::pair<std::int32_t, std::int32_t> KeyOf(const CAHCIPhysicalDrive& drive)
    {
        return {drive.m_AdapterNumber, drive.m_DeviceNumber};
    }

    std::vector<Drive> m_Drives;
};

} // namespace NAMESPACE_tarnis
