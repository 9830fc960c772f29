#include <deviceid/aggregator.h>
#include <deviceid/client.h>
#include <deviceid/service_discoverer.h>
#include <deviceid/vel_conversion.h>

#include <exception>
#include <stdexcept>
#include <utility>

namespace Tolvek::Orvan::DeviceId
{

using Log::LoggerImpl;
using Log::Severity;

namespace
{
constexpr int success = 0;
} // namespace

std::shared_ptr<Client> Client::make_client(Utils::BusConnection::Dbus::BusType busType)
{
    std::shared_ptr<ServiceDiscovererIfc> discoverer = std::make_unique<DbusDiscoverer>(busType);
    return std::make_shared<Client>(std::make_shared<Aggregator>(std::move(discoverer)));
}

Client::Client(std::shared_ptr<ServiceIfc> service)
    : Logger("Tolvek::Orvan::DeviceId::Client", "", std::make_shared<LoggerImpl>())
    , service_{std::move(service)}
{
}

std::vector<std::string> Client::deviceList() const
{
    return service_->deviceList();
}

std::string Client::deviceId(const std::string& id) const
{
    log(Severity::DetailedTrace, "deviceId(id = '%s')", {}, id);
    const auto data = service_->deviceId(id);
    if (data->status != success)
        fail("Device identification for (" + id + ") failed (" + errorStr(data->status) + ")");
    return data->xml;
}

std::string Client::deviceIdAsVel(const std::string& id) const
{
    return velOf(deviceId(id), "The device id '" + id + "'");
}

// NOLINTNEXTLINE(bugprone-exception-escape): not the program's entry
std::string Client::main() const
{
    // A main device whose document is empty does not count as found, so the text itself tells whether one was.
    std::string mainXml;
    for (const auto& id : deviceList())
    {
        const auto data = service_->deviceId(id);
        if (data->status != success)
            log(Severity::Warning, "Device identification of (%s) is not valid (%s)", {}, id, errorStr(data->status));
        else if (data->isMain && mainXml.empty())
            mainXml = data->xml;
        else if (data->isMain)
            log(Severity::Error,
                "There was more than one main device found. The first (and returned) main device has the following "
                "xml (%s) and the second one that (%s).",
                {}, mainXml, data->xml);
    }
    if (mainXml.empty())
        throw std::runtime_error("No main device found");
    return mainXml;
}

std::string Client::mainAsVel() const
{
    return velOf(main(), "The main device");
}

bool Client::setDeviceId(const std::string& id, const std::string& xml)
{
    log(Severity::Information, "Setting new deviceId data for (%s) in xml (%s).", {}, id, xml);
    const int status = service_->setDeviceId(id, xml);
    if (status != success)
        log(Severity::Error, "The deviceId data for (%s) could not be set. Error code is (%d).", {}, id, status);
    return status == success;
}

bool Client::setDeviceIdFromVel(const std::string& id, const std::string& vel)
{
    return setDeviceId(id, velToDeviceIdXml(vel));
}

// NOLINTNEXTLINE(readability-convert-member-functions-to-static): called on an object by existing programs
std::string Client::errorStr(int code) const
{
    switch (code)
    {
    case 1:
        return "Id was not found.";
    case 2:
        return "File error";
    case 3:
        return "DBus error";
    default:
        return "Unknown error";
    }
}

std::string Client::velOf(const std::string& xml, const std::string& owner) const
{
    try
    {
        return extractVelFromDeviceIdXml(xml);
    }
    catch (const std::exception& error)
    {
        fail(owner + " has no valid vel (" + error.what() + ")");
    }
}

void Client::fail(const std::string& message) const
{
    log(Severity::Error, "%s", {}, message);
    throw std::runtime_error(message);
}

} // namespace Tolvek::Orvan::DeviceId
