#include "contribution_sdbus_client.h"

#include <busconnection/dbus/handler_boundary.h>

#include <tuple>
#include <utility>

namespace Tolvek::Orvan::DeviceId
{

using Log::Severity;
using Utils::BusConnection::Dbus::requireCarriable;

namespace
{

constexpr int kDbusError = 3;

} // namespace

ContributionSdbusClientIfc::~ContributionSdbusClientIfc() = default;

ContributionSdbusClient::ContributionSdbusClient(std::shared_ptr<Utils::BusConnection::FactoryIfc> factory,
                                                 std::string objectPath, std::string serviceName)
    : Logger("Tolvek::Orvan::DeviceId::ContributionSdbusClient", "", std::make_shared<Log::LoggerImpl>())
    , Client(std::move(factory), std::move(objectPath), serviceName)
    , serviceName_{std::move(serviceName)}
{
}

ContributionSdbusClient::~ContributionSdbusClient() = default;

std::vector<std::string> ContributionSdbusClient::deviceList()
{
    try
    {
        return proxy().deviceList();
    }
    catch (const sdbus::Error& error)
    {
        log(Severity::Error, "DBUS method deviceList call failed for (%s) with (%s)", {}, serviceName_, error.what());
        return {std::string{}};
    }
}

std::shared_ptr<Data> ContributionSdbusClient::deviceId(const std::string& name) const
{
    auto data = std::make_shared<Data>();
    try
    {
        std::tie(data->status, data->xml, data->isMain) = proxy().deviceId(requireCarriable(name));
    }
    catch (const sdbus::Error& error)
    {
        log(Severity::Error, "DBus method deviceId call failed with (%s)", {}, error.what());
        *data = Data{kDbusError, error.what(), false};
    }
    return data;
}

int ContributionSdbusClient::setDeviceId(const std::string& name, const std::string& xml)
{
    try
    {
        return proxy().setDeviceId(requireCarriable(name), requireCarriable(xml));
    }
    catch (const sdbus::Error& error)
    {
        log(Severity::Error, "DBus method setDeviceId call failed with (%s)", {}, error.what());
        return kDbusError;
    }
}

std::string ContributionSdbusClient::name() const
{
    return serviceName_;
}

} // namespace Tolvek::Orvan::DeviceId
