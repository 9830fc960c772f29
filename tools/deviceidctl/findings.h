#pragma once

#include "devices.h"
#include "library_log.h"

#include <string>
#include <vector>

namespace Tolvek::Orvan::DeviceId::Tools::Ctl
{

enum class Severity
{
    Ok,
    Warning,
    Error,
};

const char* nameOf(Severity severity);

/// One result of checking a bus.
struct Finding
{
    Severity severity;
    const char* rule;    ///< names the rule to programs
    std::string subject; ///< what it is about: a provider, a device, or the bus
    std::string message;
};

using Findings = std::vector<Finding>;

/// Everything that was seen on a bus.
struct Observation
{
    std::vector<Provider> providers;
    std::vector<Device> devices;
    std::vector<LibraryLog::PassedOver> passedOver;
    std::vector<std::string> withoutDevices; ///< names of providers that publish none
};

/// What is good and what is wrong about it.
Findings findingsAbout(const Observation& observation);

/// The worst severity.
Severity verdictOf(const Findings& findings);

} // namespace Tolvek::Orvan::DeviceId::Tools::Ctl
