#include "base/UntilUnload.h"
#include "platform/ApiCall.h"
#include "platform/DeviceNames.h"
#include "platform/DeviceTreePicture.h"
#include "platform/DiskAnswers.h"
#include "platform/WindowsApi.h"

#include <algorithm>
#include <cstring>
#include <deque>
#include <limits>
#include <mutex>
#include <utility>

namespace Platform
{

namespace
{

constexpr ULONG HighestProperty = 0x25;
constexpr ULONG TextType = 1; // REG_SZ

/// The last pictures, the last one first. A walk goes on in the picture in which it began, although
/// another one may have found a change meanwhile: else it would miss disks that are there.
struct Pictures
{
    static constexpr std::size_t Kept = 8;

    std::mutex lock;
    std::deque<std::shared_ptr<const DeviceTreePicture>> last;
    DEVINST next = 1;

    void Add(std::shared_ptr<const DeviceTree> tree)
    {
        // Numbers go on from the last tree's, so that nobody takes an old node for a new one.
        const auto size = static_cast<DEVINST>(tree->size());
        if (next > std::numeric_limits<DEVINST>::max() - size)
        {
            last.clear();
            next = 1;
        }
        last.push_front(std::make_shared<const DeviceTreePicture>(std::move(tree), next));
        next += size;
        if (last.size() > Kept)
            last.pop_back();
    }

    /// The picture that gave a node its number; null when there is none any more.
    const DeviceTreePicture* Of(DEVINST node) const
    {
        const auto found =
            std::ranges::find_if(last, [node](const auto& picture)
                                 { return picture->PositionOf(node) != DeviceNode::None; });
        return found == last.end() ? nullptr : found->get();
    }
};

Pictures& ThePictures()
{
    static Base::UntilUnload<Pictures> pictures;
    return *pictures;
}

/// Checks the arguments that all node calls share, in the order of Windows.
template <class Body>
CONFIGRET RunNodeCall(const char* name, DEVINST node, bool hasPointers, ULONG flags, Body body)
{
    return RunCall<CONFIGRET>(name, CR_FAILURE, CR_OUT_OF_MEMORY,
                              [&]() -> CONFIGRET
                              {
                                  if (!hasPointers)
                                      return CR_INVALID_POINTER;
                                  if (node == 0)
                                      return CR_INVALID_DEVNODE;
                                  if (flags != 0)
                                      return CR_INVALID_FLAG;
                                  const std::lock_guard guard(ThePictures().lock);
                                  const DeviceTreePicture* picture = ThePictures().Of(node);
                                  if (picture == nullptr)
                                      return CR_NO_SUCH_DEVNODE;
                                  return body(*picture, picture->Tree()[picture->PositionOf(node)]);
                              });
}

CONFIGRET Relative(const char* name, DEVINST* relative, DEVINST node, ULONG flags,
                   std::size_t DeviceNode::*link)
{
    return RunNodeCall(name, node, relative != nullptr, flags,
                       [&](const DeviceTreePicture& picture, const DeviceNode& device) -> CONFIGRET
                       {
                           if (device.*link == DeviceNode::None)
                               return CR_NO_SUCH_DEVNODE;
                           *relative = picture.NodeAt(device.*link);
                           return CR_SUCCESS;
                       });
}

} // namespace

DeviceTreePicture::DeviceTreePicture(std::shared_ptr<const DeviceTree> tree, DEVINST first)
    : m_Tree(std::move(tree)), m_First(first)
{
    m_ById.reserve(2 * m_Tree->size());
    for (std::size_t position = 0; position < m_Tree->size(); ++position)
    {
        const std::string& id = (*m_Tree)[position].id;
        m_ById.emplace(id, position);
        m_ById.emplace(FoldCase(id), position);
    }
}

std::size_t DeviceTreePicture::PositionOf(DEVINST node) const
{
    return node >= m_First && node - m_First < m_Tree->size() ? node - m_First : DeviceNode::None;
}

std::size_t DeviceTreePicture::PositionOf(const std::string& deviceId) const
{
    const auto found = FindFolded(m_ById, deviceId);
    return found == m_ById.end() ? DeviceNode::None : found->second;
}

std::shared_ptr<const DeviceTreePicture> TakePicture()
{
    std::shared_ptr<const DeviceTree> tree = CurrentMachine().ReadDeviceTree();
    Pictures& pictures = ThePictures();
    const std::lock_guard guard(pictures.lock);
    if (!tree || tree->empty())
        return nullptr;
    if (pictures.last.empty() || !pictures.last.front()->Shows(tree))
        pictures.Add(std::move(tree));
    return pictures.last.front();
}

std::shared_ptr<const DeviceTreePicture> LastPicture()
{
    {
        const std::lock_guard guard(ThePictures().lock);
        if (!ThePictures().last.empty())
            return ThePictures().last.front();
    }
    return TakePicture();
}

void ForgetPicture()
{
    const std::lock_guard guard(ThePictures().lock);
    ThePictures().last.clear();
}

CONFIGRET CM_Locate_DevNodeA(DEVINST* node, CHAR* deviceId, ULONG flags)
{
    return RunCall<CONFIGRET>("CM_Locate_DevNodeA", CR_FAILURE, CR_OUT_OF_MEMORY,
                              [&]() -> CONFIGRET
                              {
                                  if (node == nullptr)
                                      return CR_INVALID_POINTER;
                                  if (flags != 0)
                                      return CR_INVALID_FLAG;
                                  const auto picture = TakePicture();
                                  if (deviceId == nullptr)
                                      BeginDiskWalk();
                                  if (!picture)
                                      return CR_NO_SUCH_DEVNODE;
                                  const std::size_t position =
                                      deviceId == nullptr || *deviceId == '\0'
                                          ? 0
                                          : picture->PositionOf(std::string(deviceId));
                                  if (position == DeviceNode::None)
                                      return CR_NO_SUCH_DEVNODE;
                                  *node = picture->NodeAt(position);
                                  return CR_SUCCESS;
                              });
}

CONFIGRET CM_Get_Child(DEVINST* child, DEVINST node, ULONG flags)
{
    return Relative("CM_Get_Child", child, node, flags, &DeviceNode::firstChild);
}

CONFIGRET CM_Get_Sibling(DEVINST* sibling, DEVINST node, ULONG flags)
{
    return Relative("CM_Get_Sibling", sibling, node, flags, &DeviceNode::nextSibling);
}

CONFIGRET CM_Get_Parent(DEVINST* parent, DEVINST node, ULONG flags)
{
    return Relative("CM_Get_Parent", parent, node, flags, &DeviceNode::parent);
}

CONFIGRET CM_Get_Device_IDA(DEVINST node, CHAR* buffer, ULONG length, ULONG flags)
{
    return RunNodeCall("CM_Get_Device_IDA", node, buffer != nullptr, flags,
                       [&](const DeviceTreePicture&, const DeviceNode& device) -> CONFIGRET
                       {
                           if (device.id.size() >= length)
                               return CR_BUFFER_SMALL;
                           std::memcpy(buffer, device.id.c_str(), device.id.size() + 1);
                           return CR_SUCCESS;
                       });
}

CONFIGRET CM_Get_DevNode_Registry_PropertyA(DEVINST node, ULONG property, ULONG* type, PVOID buffer,
                                            ULONG* length, ULONG flags)
{
    const bool hasPointers = length != nullptr && (buffer != nullptr || *length == 0);
    return RunNodeCall("CM_Get_DevNode_Registry_PropertyA", node, hasPointers, flags,
                       [&](const DeviceTreePicture&, const DeviceNode& device) -> CONFIGRET
                       {
                           if (property == 0 || property > HighestProperty)
                               return CR_INVALID_PROPERTY;
                           if (property != CM_DRP_SERVICE || device.service.empty())
                           {
                               *length = 0;
                               return CR_NO_SUCH_VALUE;
                           }
                           if (type != nullptr)
                               *type = TextType;
                           const auto needed = static_cast<ULONG>(device.service.size() + 1);
                           const bool fits = *length >= needed;
                           *length = needed;
                           if (!fits)
                               return CR_BUFFER_SMALL;
                           std::memcpy(buffer, device.service.c_str(), needed);
                           return CR_SUCCESS;
                       });
}

} // namespace Platform
