#pragma once

#include "options.h"

#include <optional>
#include <string>

namespace Tolvek::Orvan::DeviceId::Tools::Ctl
{

/// The process that owns a bus name.
struct ProcessInfo
{
    unsigned pid;
    std::string command; ///< empty if it may not be known
};

/// Nothing if the bus does not tell.
std::optional<ProcessInfo> processOwning(BusType bus, const std::string& busName);

/// "1234 (command)", or that it is not known.
std::string describe(const std::optional<ProcessInfo>& process);

} // namespace Tolvek::Orvan::DeviceId::Tools::Ctl
