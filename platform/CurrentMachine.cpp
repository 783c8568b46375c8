#include "base/UntilUnload.h"
#include "contracts/zelKit/Environment.h"
#include "platform/DeviceNames.h"
#include "platform/DeviceTreePicture.h"
#include "platform/DiskAnswers.h"
#include "platform/HostSystem.h"
#include "platform/Machine.h"
#include "platform/simulated/SimulatedMachine.h"

#include <atomic>
#include <mutex>
#include <utility>

namespace Platform
{

namespace
{

/// A computer without devices, for a machine that cannot be had.
class EmptyMachine : public Machine
{
  public:
    std::shared_ptr<const DeviceTree> ReadDeviceTree() override { return m_Tree; }

    DWORD OpenDevice(const std::string&, bool, std::unique_ptr<Device>&) override
    {
        return ERROR_FILE_NOT_FOUND;
    }

    bool ModuleVersion(const std::string&, std::string&) override { return false; }

    bool Partitions(DWORD, std::vector<ZKTX::CSystemPartition>&) override { return false; }

  private:
    static DeviceTree RootAlone()
    {
        DeviceTree tree(1);
        tree.front().id = RootDeviceId;
        return tree;
    }

    std::shared_ptr<const DeviceTree> m_Tree = std::make_shared<const DeviceTree>(RootAlone());
};

struct Current
{
    std::atomic<Machine*> ready = nullptr; ///< machine.get() as soon as its complaint is told
    std::mutex lock;
    std::shared_ptr<Machine> machine;
    std::string complaint;
};

Current& TheCurrent()
{
    static Base::UntilUnload<Current> current;
    return *current;
}

/// Makes the machine if there is none yet. Under the lock.
void Make(Current& current)
{
    if (current.machine)
        return;
    const std::string file = ZKT::Misc::GetVariable("TARNIS_MACHINE");
    if (file.empty())
        current.machine = ThisComputer();
    else if (!(current.machine = SimulatedMachine::FromFile(file, current.complaint)))
        current.machine = std::make_shared<EmptyMachine>();
}

} // namespace

Machine& CurrentMachine()
{
    Current& current = TheCurrent();
    if (Machine* machine = current.ready.load(std::memory_order_acquire))
        return *machine;
    const std::lock_guard guard(current.lock);
    if (current.ready == nullptr)
    {
        Make(current);
        if (!current.complaint.empty())
            Warn(current.complaint);
        current.ready = current.machine.get();
    }
    return *current.machine;
}

bool OpenCurrentMachine(std::string& message)
{
    Current& current = TheCurrent();
    const std::lock_guard guard(current.lock);
    Make(current);
    // The caller has the complaint now; nobody needs to hear it twice.
    current.ready = current.machine.get();
    message = current.complaint;
    return message.empty();
}

void SetCurrentMachine(std::shared_ptr<Machine> machine)
{
    Current& current = TheCurrent();
    {
        const std::lock_guard guard(current.lock);
        current.complaint.clear();
        current.ready = machine.get();
        current.machine.swap(machine);
    }
    ForgetPicture();
    ForgetDiskAnswers();
}

} // namespace Platform
