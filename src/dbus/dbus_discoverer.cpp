#include "contribution_sdbus_client.h"
#include "names.h"

#include <busconnection/dbus/factory.h>
#include <deviceid/service_discoverer.h>

#include <utility>

namespace Tolvek::Orvan::DeviceId
{

using Log::Severity;

DbusDiscoverer::DbusDiscoverer(Utils::BusConnection::Dbus::BusType busType)
    : Logger("Tolvek::Orvan::DeviceId::DbusDiscoverer", "", std::make_shared<Log::LoggerImpl>())
    , baseName_{kBaseBusName}
    , busType_{busType}
{
}

std::vector<std::shared_ptr<ServiceIfc>> DbusDiscoverer::services()
{
    log(Severity::DetailedTrace, "Discovering d-bus services via DbusClient.", {});
    const auto factory = std::make_shared<Utils::BusConnection::Dbus::Factory>(busType_);
    log(Severity::DetailedTrace, "Discovered (%d) dbus services overall. Going on only with base name (%s).", {},
        factory->serviceNames().size(), baseName_);

    const auto clients = factory->createAllClients<ContributionSdbusClientIfc>();
    log(Severity::DetailedTrace, "Found (%u) services with a base name of (%s).", {}, clients.size(), baseName_);
    return {clients.begin(), clients.end()};
}

} // namespace Tolvek::Orvan::DeviceId
