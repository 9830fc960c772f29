#include "xml/production_time.h"

#include <cstdint>
#include <ctime>
#include <iomanip>
#include <sstream>

namespace Tolvek::Orvan::DeviceId
{

namespace
{

/// Years far from 1970 do not fit 64-bit nanoseconds; the product then wraps, computed without sign because a signed
/// overflow would be undefined.
std::int64_t toNanoseconds(std::int64_t seconds)
{
    constexpr std::uint64_t nanosecondsPerSecond = 1'000'000'000;
    return static_cast<std::int64_t>(static_cast<std::uint64_t>(seconds) * nanosecondsPerSecond);
}

} // namespace

std::chrono::system_clock::time_point parseProductionTime(const std::string& when)
{
    std::tm brokenDown{};
    std::istringstream stream{when};
    // The state of the stream is of no interest: what was read before a failure stays, and that is what counts.
    stream >> std::get_time(&brokenDown, "%Y-%m-%dT%H:%M:%S%z %Z");
    return std::chrono::system_clock::time_point{std::chrono::nanoseconds{toNanoseconds(std::mktime(&brokenDown))}};
}

} // namespace Tolvek::Orvan::DeviceId
