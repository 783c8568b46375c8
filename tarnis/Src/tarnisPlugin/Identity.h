// Which records of two pictures are the same object: what survives from scan to scan.
#pragma once

#include "tarnis/Src/tarnisAdapter/Adapter.h"
#include "tarnis/Src/tarnisPhysicalDrive/PhysicalDrive.h"

#include <algorithm>

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

} // namespace NAMESPACE_tarnis
