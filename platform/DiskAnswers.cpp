#include "platform/DiskAnswers.h"

#include "base/UntilUnload.h"

#include <cstdint>
#include <map>
#include <mutex>
#include <vector>

namespace Platform
{

namespace
{

struct KeptAnswer
{
    DiskAnswer answer;
    std::uint64_t walk = 0; ///< in which the disk was asked last
};

struct Keeper
{
    std::mutex lock;
    std::uint64_t walk = 0;
    std::map<DWORD, KeptAnswer> disks;
    std::vector<DiskAnswer> silent; ///< of this walk, without a number

    /// The disk's answer, which holds no failure of an earlier walk any more.
    DiskAnswer& Of(DWORD number)
    {
        KeptAnswer& kept = disks[number];
        if (kept.walk != walk)
            kept.answer.failed.reset();
        kept.walk = walk;
        kept.answer.number = number;
        return kept.answer;
    }
};

Keeper& TheKeeper()
{
    static Base::UntilUnload<Keeper> keeper;
    return *keeper;
}

} // namespace

void BeginDiskWalk()
{
    Keeper& keeper = TheKeeper();
    const std::lock_guard guard(keeper.lock);
    ++keeper.walk;
    keeper.silent.clear();
}

void NoteSilentInterface(const std::string& path, std::optional<DWORD> number,
                         DiskQuestion question, DWORD error)
{
    if (number)
        return NoteDiskAnswer(*number, question, error);
    Keeper& keeper = TheKeeper();
    const std::lock_guard guard(keeper.lock);
    DiskAnswer& answer = keeper.silent.emplace_back();
    answer.interfacePath = path;
    answer.failed = question;
    answer.error = error;
}

void NoteDiskAnswer(DWORD number, DiskQuestion question, DWORD error)
{
    Keeper& keeper = TheKeeper();
    const std::lock_guard guard(keeper.lock);
    DiskAnswer& answer = keeper.Of(number);
    if (question == DiskQuestion::SmartData)
    {
        answer.smartError = error;
        if (error != ERROR_SUCCESS)
            answer.smartPage = std::nullopt; // what it said before holds no more
    }
    else if (question == DiskQuestion::Open)
        answer.failed.reset(); // it is asked from the beginning
    if (error != ERROR_SUCCESS && question < DiskQuestion::SmartData)
    {
        answer.failed = question;
        answer.error = error;
    }
}

void NoteSmartPage(DWORD number, const Sector& page)
{
    Keeper& keeper = TheKeeper();
    const std::lock_guard guard(keeper.lock);
    DiskAnswer& answer = keeper.Of(number);
    answer.smartPage = page;
    answer.smartPageTime = std::chrono::steady_clock::now();
}

void NoteDiskLength(DWORD number, std::uint64_t bytes)
{
    Keeper& keeper = TheKeeper();
    const std::lock_guard guard(keeper.lock);
    keeper.Of(number).bytes = bytes;
}

void ForEachDiskAnswer(const std::function<void(const DiskAnswer&)>& call)
{
    Keeper& keeper = TheKeeper();
    const std::lock_guard guard(keeper.lock);
    for (const DiskAnswer& answer : keeper.silent)
        call(answer);
    for (const auto& [number, kept] : keeper.disks)
        if (kept.walk == keeper.walk)
            call(kept.answer);
}

void ForgetDiskAnswers()
{
    Keeper& keeper = TheKeeper();
    const std::lock_guard guard(keeper.lock);
    keeper.walk = 0;
    keeper.disks.clear();
    keeper.silent.clear();
}

} // namespace Platform
