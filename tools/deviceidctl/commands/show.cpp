#include "commands/commands.h"

#include "bus_errors.h"
#include "common/text.h"
#include "devices.h"
#include "failure.h"
#include "fields.h"
#include "json_output.h"
#include "output.h"
#include "process_info.h"
#include "table.h"

namespace Tolvek::Orvan::DeviceId::Tools::Ctl
{

namespace
{

std::vector<Device> readChosen(const Devices& bus, const Options& options)
{
    if (options.mainDevice)
    {
        auto devices = bus.readMain();
        if (devices.empty())
            throw Failure{NotFound, "no-main", "no main device; 'list' shows all devices"};
        if (devices.size() > 1)
            warn("there are " + std::to_string(devices.size()) + " main devices; there should be one");
        return devices;
    }
    std::vector<Device> devices;
    for (const auto& id : options.ids)
    {
        const auto target = bus.find(id);
        devices.push_back(readDevice(*target.service, target.deviceId));
    }
    return devices;
}

std::string line(const std::string& title, const std::string& value)
{
    constexpr std::size_t kTitleWidth = 15;
    return "  " + title + std::string(kTitleWidth - title.size(), ' ') + printable(value) + "\n";
}

std::string describe(const Device& device, const std::optional<ProcessInfo>& process)
{
    auto text = coloured(printable(device.id), Look::Heading, mayUseColour()) + "\n";
    text += line("main device", device.isMain ? "yes" : "no");
    if (!device.identity)
        text += line("error", device.error);
    else
    {
        for (const auto& [field, value] : valuesOf(*device.identity))
            text += value ? line(field->title, *value) : "";
        for (const auto& warning : device.identity->warnings)
            text += line("warning", warning);
    }
    return text + line("provider", device.provider) + line("process", describe(process));
}

Json jsonOf(const Device& device, const std::optional<ProcessInfo>& process)
{
    auto json = Ctl::jsonOf(device);
    json["process"] = process ? Json{{"pid", process->pid}, {"command", process->command}} : Json(nullptr);
    return json;
}

} // namespace

int show(const Options& options)
{
    const Devices bus{options.bus};
    bus.warnOfSilentProviders();
    auto document = makeDocument("show");
    document["bus"] = nameOf(options.bus);
    auto& list = document["devices"] = Json::array();
    std::string text;
    int exitCode = Done;
    for (const auto& device : readChosen(bus, options))
    {
        const auto process = processOwning(options.bus, device.provider);
        list.push_back(jsonOf(device, process));
        text += (text.empty() ? "" : "\n") + describe(device, process);
        exitCode = device.identity ? exitCode : Remarks;
    }
    writeToStandardOutput(options.json ? jsonText(document) : text);
    return exitCode;
}

} // namespace Tolvek::Orvan::DeviceId::Tools::Ctl
