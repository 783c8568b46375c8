#include "contracts/zelPlug/PluginHelper.h"

#include <limits>

namespace PI
{
namespace
{

constexpr std::uint64_t Unlimited = std::numeric_limits<std::uint64_t>::max();
constexpr std::uint64_t BytesOfTerabyte = 1'000'000'000'000; // of a rating: terabytes are decimal
constexpr std::uint32_t UnknownPercent = 0xFFFFFFFF;
constexpr std::uint64_t NoHoursTold = 1; // callers pass 1 for a drive that tells no hours
constexpr std::uint64_t FirstDays = 168;

/// Part of a life that is used up, as a fraction. A total of 0: not known.
struct Share
{
    std::uint64_t used = 0;
    std::uint64_t total = 0;

    bool IsKnown() const { return used != 0 && total != 0; }
    bool IsWhole() const { return IsKnown() && used >= total; }
    bool IsTenth() const { return IsKnown() && used >= total / 10 + (total % 10 != 0); }
};

std::uint64_t Sum(std::uint64_t a, std::uint64_t b)
{
    return a > Unlimited - b ? Unlimited : a + b;
}

std::uint64_t Product(std::uint64_t a, std::uint64_t b)
{
    return b != 0 && a > Unlimited / b ? Unlimited : a * b;
}

/// Adds two numbers below `modulus` within it.
/// @return what went beyond it, 0 or 1
std::uint64_t AddWithin(std::uint64_t modulus, std::uint64_t& a, std::uint64_t b)
{
    const bool beyond = a >= modulus - b;
    a = beyond ? a - (modulus - b) : a + b;
    return beyond ? 1 : 0;
}

/// hours * numerator / denominator, rounded down, for a numerator below the denominator. The
/// product can have 128 bits, so it is divided bit by bit while it is formed.
std::uint64_t Scaled(std::uint64_t hours, std::uint64_t numerator, std::uint64_t denominator)
{
    std::uint64_t quotient = 0;
    std::uint64_t rest = 0;
    for (int bit = 63; bit >= 0; --bit)
    {
        quotient = 2 * quotient + AddWithin(denominator, rest, rest);
        if ((hours >> bit & 1) != 0)
            quotient += AddWithin(denominator, rest, numerator);
    }
    return quotient;
}

/// Hours left if life goes on as it did, for a share that is known.
std::uint64_t HoursLeft(std::uint64_t hours, const Share& share)
{
    if (share.IsWhole())
        return 0;
    const std::uint64_t left = share.total - share.used;
    return Sum(Product(hours, left / share.used), Scaled(hours, left % share.used, share.used));
}

} // namespace

bool CPluginHelper::ComputeRemainingLifeTime(std::uint64_t hours, std::uint64_t bytesWritten,
                                             std::uint32_t percent, std::uint64_t rating,
                                             std::uint64_t& remainingHours)
{
    // A drive knows its own wear better than a data sheet does.
    const Share share = percent != UnknownPercent
                            ? Share{percent, 100}
                            : Share{bytesWritten, Product(rating, BytesOfTerabyte)};
    if (hours == 0 || !share.IsKnown())
        return false;
    if (!share.IsWhole() && (hours <= NoHoursTold || (hours < FirstDays && !share.IsTenth())))
        return false;
    remainingHours = HoursLeft(hours, share);
    return true;
}

} // namespace PI
