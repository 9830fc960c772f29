#include <deviceid/vel_conversion.h>
#include <deviceid/vel_id_contribution.h>

#include <exception>
#include <memory>
#include <utility>

namespace Tolvek::Orvan::DeviceId
{

using Log::LoggerImpl;
using Log::Severity;

VelIdContribution::VelIdContribution(bool isMain, std::string id, ReadFunction read, WriteFunction write)
    : Logger("Tolvek::Orvan::DeviceId::VelIdContribution", "", std::make_shared<LoggerImpl>())
    , Contribution(isMain, std::move(id), std::move(read), std::move(write))
{
}

// Neither operation goes through the base class's version: each failure is to be logged once, by this class.

std::string VelIdContribution::readDeviceId()
{
    try
    {
        return velToDeviceIdXml(readFunction()());
    }
    catch (const std::exception& error)
    {
        log(Severity::Error, "Error while reading VEL Id '%s'. Error was %s", {}, id(), error.what());
        throw;
    }
}

void VelIdContribution::writeDeviceId(std::string xml)
{
    try
    {
        writeFunction()(extractVelFromDeviceIdXml(xml));
    }
    catch (const std::exception& error)
    {
        log(Severity::Error, "Error while writting Device Id '%s'. Error was '%s'", {}, id(), error.what());
        throw;
    }
}

} // namespace Tolvek::Orvan::DeviceId
