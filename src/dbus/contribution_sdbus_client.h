#pragma once

#include "interface_proxy.h"

#include <busconnection/bus_object.h>
#include <busconnection/dbus/client.h>
#include <busconnection/factory_ifc.h>
#include <deviceid/export.h>
#include <deviceid/service.h>

#include <logger/logger.h>

#include <memory>
#include <string>
#include <vector>

namespace Tolvek::Orvan::DeviceId
{

/// The interface type under which the client side of a provider is registered with the bus-connection factory.
class DEVICEID_EXPORT ContributionSdbusClientIfc : public Utils::BusConnection::BusObject, public ServiceIfc
{
public:
    ContributionSdbusClientIfc() = default;
    ~ContributionSdbusClientIfc() override;
    ContributionSdbusClientIfc(const ContributionSdbusClientIfc&) = delete;
    ContributionSdbusClientIfc(ContributionSdbusClientIfc&&) = delete;
    ContributionSdbusClientIfc& operator=(const ContributionSdbusClientIfc&) = delete;
    ContributionSdbusClientIfc& operator=(ContributionSdbusClientIfc&&) = delete;
};

/// One provider on the bus, seen from a client: its three operations are method calls, which block until the reply or
/// the D-Bus library's time-out. A call that fails becomes a result of ServiceIfc (status 3, or a list with one empty
/// id), not an exception.
///
/// Takes no lock; one connection serves one call at a time.
class DEVICEID_EXPORT ContributionSdbusClient final
    : public Utils::BusConnection::Dbus::Client<ContributionSdbusClientIfc,
                                                com::tolvek::orvan::deviceid::interface_proxy>,
      virtual Log::Logger
{
public:
    /// Sends nothing: whether the provider exists shows at the first call.
    /// \throws std::invalid_argument if the factory is not one for D-Bus
    /// \throws sdbus::Error          if the name or the path is not one that D-Bus allows
    ContributionSdbusClient(std::shared_ptr<Utils::BusConnection::FactoryIfc> factory, std::string objectPath,
                            std::string serviceName);
    ~ContributionSdbusClient() override;
    ContributionSdbusClient(const ContributionSdbusClient&) = delete;
    ContributionSdbusClient(ContributionSdbusClient&&) = delete;
    ContributionSdbusClient& operator=(const ContributionSdbusClient&) = delete;
    ContributionSdbusClient& operator=(ContributionSdbusClient&&) = delete;

    std::vector<std::string> deviceList() override;
    std::shared_ptr<Data> deviceId(const std::string& name) const override;
    int setDeviceId(const std::string& name, const std::string& xml) override;
    /// The bus name of the provider.
    std::string name() const override;

private:
    std::string serviceName_;
};

} // namespace Tolvek::Orvan::DeviceId
