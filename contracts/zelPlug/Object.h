#pragma once

#include "contracts/Export.h"
#include "contracts/zelPlug/Operation.h"
#include "contracts/zelPlug/Property.h"
#include "vocabulary/Identifiers.h"

#include <cstdint>
#include <vector>

namespace PI
{

/// One object of the tree that a plug-in shows to the host, and the base of a plug-in's own
/// records. Plain data without a lock: whoever holds it guards it.
class ZELPLUG_API CObject
{
  public:
    CObject();
    CObject(const CObject&);
    CObject& operator=(const CObject&);
    CObject(CObject&&) noexcept;
    CObject& operator=(CObject&&) noexcept;
    virtual ~CObject();

    /// Compares id, type and children. Parents are left out, because a plug-in's worker rebuilds
    /// them after each scan and a pass that changed nothing must not look like a change; so are
    /// the change count, properties and operations.
    bool operator==(const CObject& other) const;

    std::uint64_t GetID() const { return m_ID; }
    void SetID(std::uint64_t id) { m_ID = id; }
    _OBJECT_TYPE GetType() const { return m_Type; }
    void SetType(_OBJECT_TYPE type) { m_Type = type; }
    std::uint64_t GetChangeCount() const { return m_ChangeCount; }
    void SetChangeCount(std::uint64_t count) { m_ChangeCount = count; }

    /// The live vectors, to be appended to.
    std::vector<std::uint64_t>& GetParents() { return m_Parents; }
    std::vector<std::uint64_t>& GetChildren() { return m_Children; }

    std::uint64_t m_ID; ///< module number in the top 16 bits, a count below
    _OBJECT_TYPE m_Type;
    std::vector<std::uint64_t> m_Parents;  ///< ids
    std::vector<std::uint64_t> m_Children; ///< ids
    std::uint64_t m_ChangeCount;           ///< grows by 1 with each change of content
    std::vector<CProperty> m_Properties;   ///< filled in the copies that the host receives
    std::vector<COperation> m_Operations;  ///< filled in the copies that the host receives
};

} // namespace PI
