#pragma once

#include <deviceid/export.h>
#include <deviceid/service_contributor.h>

#include <busconnection/dbus/bus_type.h>

#include <memory>
#include <string>

namespace Tolvek::Orvan::DeviceId
{

/// The entry for a process that publishes devices: puts the process on the bus and, unless the process has configured
/// logging itself, sets up its two log files.
///
/// Construct and destroy it on one thread at a time; deviceIdServiceContributor() may be called from several.
class DEVICEID_EXPORT ServiceFactory
{
public:
    /// \param name    the provider's name on the bus is "com.tolvek.orvan.deviceid." followed by this; also part of the
    ///                names of the log files
    /// \param busType the bus to publish on
    /// \throws sdbus::Error if the bus cannot be reached or refuses the name
    ServiceFactory(std::string name, Utils::BusConnection::Dbus::BusType busType);

    /// Leaves the bus, unless someone else still holds the contributor.
    ~ServiceFactory();
    ServiceFactory(const ServiceFactory&) = delete;
    ServiceFactory(ServiceFactory&&) = delete;
    ServiceFactory& operator=(const ServiceFactory&) = delete;
    ServiceFactory& operator=(ServiceFactory&&) = delete;

    /// Where this process registers its devices; the same object on every call, never empty.
    std::shared_ptr<ServiceContributorIfc> deviceIdServiceContributor() const;

private:
    struct Implementation;

    std::unique_ptr<Implementation> implementation_;
};

} // namespace Tolvek::Orvan::DeviceId
