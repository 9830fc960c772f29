#include "commands/commands.h"

#include "devices.h"
#include "failure.h"
#include "output.h"

#include <deviceid/vel_conversion.h>

namespace Tolvek::Orvan::DeviceId::Tools::Ctl
{

namespace
{

void print(const std::string& xml, const Options& options, const std::string& owner)
{
    if (options.form != Form::Vel)
        return writeToStandardOutput(xml);
    try
    {
        writeToStandardOutput(extractVelFromDeviceIdXml(xml));
    }
    catch (const std::invalid_argument& error)
    {
        throw Failure{Failed, "no-vel", "no VEL string from " + owner + ": " + error.what()};
    }
    catch (const Failure&)
    {
        throw;
    }
    catch (const std::runtime_error& error)
    {
        throw Failure{Failed, "no-vel",
                      "no VEL string from " + owner + ": " + error.what() + "; get it as XML, without --vel"};
    }
}

/// The first with a document: a main device without one does not count as found.
Device firstMain(const std::vector<Device>& devices)
{
    for (const auto& device : devices)
    {
        if (!device.xml.empty())
            return device;
    }
    throw Failure{NotFound, "no-main", "no main device; 'list' shows all devices"};
}

} // namespace

int get(const Options& options)
{
    const Devices bus{options.bus};
    const auto target = bus.find(options.id);
    print(readDocument(target), options, target.id);
    return Done;
}

int getMain(const Options& options)
{
    const Devices bus{options.bus};
    bus.warnOfSilentProviders();
    const auto devices = bus.readMain();
    print(firstMain(devices).xml, options, "the main device");
    if (devices.size() == 1)
        return Done;
    warn("there are " + std::to_string(devices.size()) + " main devices, this is the first");
    return Remarks;
}

} // namespace Tolvek::Orvan::DeviceId::Tools::Ctl
