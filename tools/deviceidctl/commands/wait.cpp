#include "commands/commands.h"

#include "devices.h"
#include "failure.h"
#include "interrupt_notice.h"

#include <algorithm>
#include <string_view>
#include <thread>

namespace Tolvek::Orvan::DeviceId::Tools::Ctl
{

namespace
{

bool isThere(const Options& options)
{
    const Devices bus{options.bus};
    if (!options.id.empty())
        return !readDocument(bus.find(options.id)).empty();
    const auto devices = options.mainDevice ? bus.readMain() : bus.readAll();
    return std::any_of(devices.begin(), devices.end(), [](const Device& device) { return !device.xml.empty(); });
}

/// Neither the bus nor the provider needs to be there yet. \throws Failure if waiting is of no use
bool isThereYet(const Options& options)
{
    try
    {
        return isThere(options);
    }
    catch (const Failure& failure)
    {
        if (std::string_view{failure.kind()} == "ambiguous")
            throw;
        return false;
    }
}

std::string awaited(const Options& options)
{
    if (!options.id.empty())
        return options.id;
    return options.mainDevice ? "the main device" : "any device";
}

} // namespace

int wait(const Options& options)
{
    std::optional<Deadline> deadline;
    if (options.timeout)
        deadline.emplace(
            options.timeout->count(),
            errorLine({NotFound, "time-out", awaited(options) + " could not be read in time: is its provider running?"},
                      options.json),
            NotFound);
    // A device registers any time after its provider is on the bus, and no signal tells: ask, ever more patiently.
    using std::chrono::milliseconds;
    constexpr milliseconds kLongestPause{500};
    for (milliseconds pause{10}; !isThereYet(options); pause = std::min(pause * 2, kLongestPause))
        std::this_thread::sleep_for(pause);
    return Done;
}

} // namespace Tolvek::Orvan::DeviceId::Tools::Ctl
