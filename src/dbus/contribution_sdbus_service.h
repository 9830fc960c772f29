#pragma once

#include "contribution_sdbus_ifc.h"
#include "interface_adaptor.h"

#include <busconnection/common_path.h>
#include <busconnection/dbus/service.h>
#include <busconnection/factory_ifc.h>
#include <deviceid/export.h>

#include <cstdint>
#include <memory>
#include <string>
#include <tuple>
#include <vector>

namespace Tolvek::Orvan::DeviceId
{

/// Publishes the service of a bus object on D-Bus: forwards the three methods to it and logs what fails.
///
/// The methods run on the thread of the provider's connection, one at a time. Whatever they throw reaches the caller as
/// an error reply.
class DEVICEID_EXPORT ContributionSdbusService final // NOLINT(cppcoreguidelines-virtual-class-destructor): final
    : public Utils::BusConnection::Dbus::Service<ContributionSdbusIfc, com::tolvek::orvan::deviceid::interface_adaptor,
                                                 &Utils::BusConnection::CommonPath>,
      virtual Log::Logger
{
public:
    /// \throws std::invalid_argument if the factory is not one for D-Bus
    /// \throws sdbus::Error          if the object cannot be put on the bus
    ContributionSdbusService(std::shared_ptr<Utils::BusConnection::FactoryIfc> factory,
                             std::shared_ptr<ContributionSdbusIfc> object);
    ~ContributionSdbusService();
    ContributionSdbusService(const ContributionSdbusService&) = delete;
    ContributionSdbusService(ContributionSdbusService&&) = delete;
    ContributionSdbusService& operator=(const ContributionSdbusService&) = delete;
    ContributionSdbusService& operator=(ContributionSdbusService&&) = delete;

    std::vector<std::string> deviceList() override;
    std::tuple<std::int32_t, std::string, bool> deviceId(const std::string& name) override;
    std::int32_t setDeviceId(const std::string& name, const std::string& xml) override;

private:
    template <typename Call>
    auto forward(const char* method, const Call& call);
};

} // namespace Tolvek::Orvan::DeviceId
