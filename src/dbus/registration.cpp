// Tells the bus-connection library, when this one is loaded, what it can put on the bus and reach there.

#include "contribution_sdbus_client.h"
#include "contribution_sdbus_ifc.h"
#include "contribution_sdbus_service.h"

#include <busconnection/dbus/factory.h>

namespace Tolvek::Orvan::DeviceId
{

namespace
{

using Registries = Utils::BusConnection::FactoryBase<Utils::BusConnection::Dbus::Factory>;

[[maybe_unused]] const bool kServiceIsRegistered =
    Registries::registerServiceClass<ContributionSdbusIfc, ContributionSdbusService>();
[[maybe_unused]] const bool kClientIsRegistered =
    Registries::registerClientClass<ContributionSdbusClientIfc, ContributionSdbusClient>();

} // namespace

} // namespace Tolvek::Orvan::DeviceId
