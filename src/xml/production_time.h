#pragma once

#include <chrono>
#include <string>

namespace Tolvek::Orvan::DeviceId
{

/// Reads the date and time at the beginning of a text ("2021-03-05T10:20:30") as local standard time of the process.
/// What follows it, an offset from UTC for one, is ignored. Never fails: parts that cannot be read count as zero.
std::chrono::system_clock::time_point parseProductionTime(const std::string& when);

} // namespace Tolvek::Orvan::DeviceId
