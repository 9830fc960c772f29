#include "commands/commands.h"

#include "bus_errors.h"
#include "common/text.h"
#include "devices.h"
#include "json_output.h"
#include "output.h"
#include "table.h"

#include <algorithm>

namespace Tolvek::Orvan::DeviceId::Tools::Ctl
{

namespace
{

/// The day of a time, which is all that a list has room for; "0000-00-00" says that there is none.
std::string dayOf(const std::string& time)
{
    const auto day = time.substr(0, time.find('T'));
    return day == "0000-00-00" ? "" : day;
}

Row rowOf(const Device& device, bool withShortId)
{
    const std::string mark = device.isMain ? "*" : "";
    const auto id = withShortId ? shortId(device.id) : device.id;
    if (!device.identity)
        return {{id, mark, "! " + device.error}, Look::Bad};
    const auto& identity = *device.identity;
    return {{id, mark, identity.partNumber, identity.serialNumber, identity.name, identity.producedAt,
             dayOf(identity.producedOn)},
            device.isMain ? Look::Emphasis : Look::Plain};
}

std::vector<Row> rowsOf(const std::vector<Device>& devices, bool withShortIds)
{
    std::vector<Row> rows{{{"ID", "MAIN", "PART", "SERIAL", "NAME", "PLACE", "DATE"}, Look::Heading}};
    std::transform(devices.begin(), devices.end(), std::back_inserter(rows),
                   [&](const Device& device) { return rowOf(device, withShortIds); });
    return rows;
}

/// What is cut off an id cannot be given to another command: if the terminal is narrow, ids are shortened first.
void printTable(const std::vector<Device>& devices)
{
    const auto width = terminalWidth();
    auto rows = rowsOf(devices, false);
    if (width > 0 && naturalWidth(rows) > width)
        rows = rowsOf(devices, true);
    writeToStandardOutput(renderTable(rows, width, mayUseColour()));
}

void printJson(const std::vector<Device>& devices, const Json& passedOver, BusType bus)
{
    auto document = makeDocument("list");
    document["bus"] = nameOf(bus);
    document["passedOver"] = passedOver;
    auto& list = document["devices"] = Json::array();
    for (const auto& device : devices)
        list.push_back(jsonOf(device));
    writeToStandardOutput(jsonText(document));
}

int listIds(const Devices& devices, bool isComplete)
{
    std::string lines;
    for (const auto& provider : devices.providers())
    {
        for (const auto& deviceId : provider.deviceIds)
            lines += printable(provider.service->name() + "#" + deviceId) + "\n";
        if (!provider.error.empty())
            warn(provider.service->name() + " " + provider.error);
        isComplete = isComplete && provider.error.empty();
    }
    writeToStandardOutput(lines);
    return isComplete ? Done : Remarks;
}

} // namespace

int list(const Options& options)
{
    const Devices bus{options.bus};
    const bool areAllHeard = !bus.warnOfSilentProviders();
    if (options.idsOnly)
        return listIds(bus, areAllHeard);
    const auto devices = bus.readAll();
    if (options.json)
        printJson(devices, jsonOf(bus.silentProviders()), options.bus);
    else if (devices.empty())
        writeToStandardError(std::string{"deviceidctl: no devices on the "} + nameOf(options.bus) +
                             " bus: is a provider running?\n");
    else
        printTable(devices);
    const bool areAllRead =
        std::all_of(devices.begin(), devices.end(), [](const Device& device) { return device.identity.has_value(); });
    return areAllHeard && areAllRead ? Done : Remarks;
}

} // namespace Tolvek::Orvan::DeviceId::Tools::Ctl
