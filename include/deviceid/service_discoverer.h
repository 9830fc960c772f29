#pragma once

#include <deviceid/export.h>
#include <deviceid/service.h>

#include <busconnection/dbus/bus_type.h>
#include <logger/logger.h>

#include <memory>
#include <string>
#include <vector>

namespace Tolvek::Orvan::DeviceId
{

/// Finds the services that exist at the moment.
///
/// Hand an implementation over as a std::shared_ptr that was made from the concrete type: there is no virtual
/// destructor to delete it through this interface, and the destructor is protected so that nobody tries.
class DEVICEID_EXPORT ServiceDiscovererIfc
{
public:
    /// The services in the order in which they are to be tried; no pointer in it is empty.
    virtual std::vector<std::shared_ptr<ServiceIfc>> services() = 0;

protected:
    ~ServiceDiscovererIfc() = default;
};

/// Finds every object on a bus that offers device identities.
///
/// Immutable: calls may overlap. Each opens a bus connection of its own and caches nothing; the services that it
/// returns share that connection and keep it open.
// NOLINTNEXTLINE(cppcoreguidelines-virtual-class-destructor): final, so it is never deleted as anything less
class DEVICEID_EXPORT DbusDiscoverer final : public ServiceDiscovererIfc, virtual Log::Logger
{
public:
    /// Does not touch the bus yet.
    explicit DbusDiscoverer(Utils::BusConnection::Dbus::BusType busType);

    /// One service per object, by ascending bus name; each service is named after its bus name. Blocks while the peers
    /// on the bus are asked, on the calling thread.
    /// \throws sdbus::Error if the bus cannot be reached
    /// \throws std::invalid_argument if this library's client class is not registered
    std::vector<std::shared_ptr<ServiceIfc>> services() override;

private:
    std::string baseName_;
    Utils::BusConnection::Dbus::BusType busType_;
};

} // namespace Tolvek::Orvan::DeviceId
