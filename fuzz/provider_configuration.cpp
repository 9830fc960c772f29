/// The configuration of the provider, as a file and as a device of the command line: whatever the text, problems or a
/// configuration that can be used.
#include "input.h"

#include "deviceid-provider/configuration_file.h"
#include "deviceid-provider/device_option.h"

#include <algorithm>
#include <set>

using namespace Tolvek::Orvan::DeviceId::Provider;

namespace
{

void requireUsable(const Configuration& configuration)
{
    std::set<std::string> ids;
    std::set<std::string> paths;
    const auto& devices = configuration.devices;
    for (const auto& device : devices)
    {
        Fuzz::require(!device.id.empty() && ids.insert(device.id).second, "ids are there and differ");
        Fuzz::require(device.path.find('\0') == std::string::npos && device.path.substr(0, 1) == "/" &&
                          paths.insert(device.path).second,
                      "paths begin at the root and differ");
    }
    Fuzz::require(!devices.empty(), "there is a device");
    Fuzz::require(std::count_if(devices.begin(), devices.end(), [](const auto& device) { return device.isMain; }) < 2,
                  "one device is main at most");
    Fuzz::require(!configuration.serviceName.empty() && configuration.serviceName.find('/') == std::string::npos,
                  "the service name can be part of a file name");
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const auto text = Fuzz::textOf(data, size);
    std::vector<Problem> problems;
    const auto given = parseConfiguration(text, "file", problems);
    if (problems.empty())
    {
        const auto configuration = interpret(given, problems);
        if (problems.empty())
            requireUsable(configuration);
    }
    std::vector<Problem> ofDevice;
    interpret({"line", {}, {parseDevice(text, "device"), parseDevice(text, "device")}, "name"}, ofDevice);
    Fuzz::require(!ofDevice.empty(), "two devices cannot be the same");
    return 0;
}
