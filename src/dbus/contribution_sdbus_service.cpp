#include "contribution_sdbus_service.h"

#include <stdexcept>
#include <utility>

namespace Tolvek::Orvan::DeviceId
{

using Log::Severity;

ContributionSdbusIfc::ContributionSdbusIfc(std::string relativePath, std::shared_ptr<ServiceIfc> service)
    : relativePath_{std::move(relativePath)}
    , service_{std::move(service)}
{
}

ContributionSdbusIfc::~ContributionSdbusIfc() = default;

// NOLINTBEGIN(performance-unnecessary-value-param): part of the library's interface
ContributionSdbusService::ContributionSdbusService(std::shared_ptr<Utils::BusConnection::FactoryIfc> factory,
                                                   std::shared_ptr<ContributionSdbusIfc> object)
    : Logger("Tolvek::Orvan::Log::DeviceId::ContributionSdbusService", "", std::make_shared<Log::LoggerImpl>())
    , Service(factory, object, object->relativePath())
{
    log(Severity::Information, "register service %s", {}, busName());
}
// NOLINTEND(performance-unnecessary-value-param)

ContributionSdbusService::~ContributionSdbusService()
{
    log(Severity::Information, "unregister service %s", {}, busName());
    leaveBus();
}

template <typename Call>
auto ContributionSdbusService::forward(const char* method, const Call& call)
{
    try
    {
        return call(servedObject()->service());
    }
    catch (const std::runtime_error& error)
    {
        log(Severity::Error, "ContributionSdbusService::%s() throws %s", {}, method, error.what());
        throw;
    }
}

std::vector<std::string> ContributionSdbusService::deviceList()
{
    return forward("deviceList", [](ServiceIfc& service) { return service.deviceList(); });
}

std::tuple<std::int32_t, std::string, bool> ContributionSdbusService::deviceId(const std::string& name)
{
    return forward("deviceId",
                   [&name](const ServiceIfc& service)
                   {
                       const auto data = service.deviceId(name);
                       return std::make_tuple(std::int32_t{data->status}, std::move(data->xml), data->isMain);
                   });
}

std::int32_t ContributionSdbusService::setDeviceId(const std::string& name, const std::string& xml)
{
    return forward("setDeviceId", [&](ServiceIfc& service) { return std::int32_t{service.setDeviceId(name, xml)}; });
}

} // namespace Tolvek::Orvan::DeviceId
