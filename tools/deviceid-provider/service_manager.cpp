#include "service_manager.h"

#include "common/text.h"

#include <ctime>

#include <systemd/sd-daemon.h>

namespace Tolvek::Orvan::DeviceId::Provider::ServiceManager
{

namespace
{

void notify(const std::string& state)
{
    sd_notify(0, state.c_str());
}

} // namespace

void tellReady(const std::string& status)
{
    notify("READY=1\nSTATUS=" + Tools::printable(status));
}

// The time is what tells the service manager that a later READY belongs to this reload.
void tellReloading()
{
    timespec now{};
    clock_gettime(CLOCK_MONOTONIC, &now);
    constexpr long long kMicrosecondsPerSecond = 1'000'000;
    constexpr long long kNanosecondsPerMicrosecond = 1'000;
    const auto microseconds = now.tv_sec * kMicrosecondsPerSecond + now.tv_nsec / kNanosecondsPerMicrosecond;
    notify("RELOADING=1\nMONOTONIC_USEC=" + std::to_string(microseconds) + "\nSTATUS=Reloading the configuration");
}

void tellStopping()
{
    notify("STOPPING=1\nSTATUS=Stopping");
}

} // namespace Tolvek::Orvan::DeviceId::Provider::ServiceManager
