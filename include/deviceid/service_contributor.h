#pragma once

#include <deviceid/contribution.h>
#include <deviceid/export.h>
#include <deviceid/token.h>

#include <busconnection/adaptor_container_fwd.h>
#include <busconnection/dbus/bus_type.h>

#include <memory>
#include <string>

namespace Tolvek::Orvan::DeviceId
{

class ContributionManager;
class ContributionSdbusIfc;

/// Where a provider process registers its devices.
class DEVICEID_EXPORT ServiceContributorIfc
{
public:
    virtual ~ServiceContributorIfc() = default;

    /// Publishes a device that keeps its identity as a VEL string, until the returned token is destroyed.
    /// \param isMain whether this is the system's main device
    /// \param id     unique in this process, not empty
    /// \param read   returns the VEL string
    /// \param write  stores a new VEL string
    /// \throws std::invalid_argument if the id is empty or taken, a function is missing, or a second main device is
    ///         added
    virtual std::unique_ptr<TokenIfc> addVel(bool isMain, const std::string& id, const ReadFunction& read,
                                             const WriteFunction& write) = 0;

    /// Publishes a device that keeps its identity as device-ID XML; otherwise as addVel().
    /// \param read  returns the device-ID XML document
    /// \param write stores a new device-ID XML document
    virtual std::unique_ptr<TokenIfc> addDeviceId(bool isMain, const std::string& id, const ReadFunction& read,
                                                  const WriteFunction& write) = 0;

    /// Whether the devices can be reached over the bus.
    virtual bool isReady() = 0;
};

/// Publishes the registry of this process on a bus for as long as it lives. Several contributors of one process share
/// that registry: each shows all devices, under its own bus name.
///
/// Registering is thread-safe, also while calls arrive from the bus. The read and write functions run with the
/// registry's lock held, on the thread of the bus connection, and must neither register devices nor drop tokens; they
/// may drop the contributor itself. Should the bus end or disconnect the process, a line at severity 1 says so and the
/// devices are unreachable until a new contributor is made.
class DEVICEID_EXPORT ServiceContributor : public ServiceContributorIfc
{
public:
    /// \param name    the provider's name on the bus is "com.tolvek.orvan.deviceid." followed by this
    /// \param busType the bus to publish on
    /// \throws sdbus::Error if the bus cannot be reached or refuses the name; it is logged before
    ServiceContributor(std::string name, Utils::BusConnection::Dbus::BusType busType);

    /// Leaves the bus. Registered devices stay in the registry until their tokens end.
    ~ServiceContributor() override;
    ServiceContributor(const ServiceContributor&) = delete;
    ServiceContributor(ServiceContributor&&) = delete;
    ServiceContributor& operator=(const ServiceContributor&) = delete;
    ServiceContributor& operator=(ServiceContributor&&) = delete;

    std::unique_ptr<TokenIfc> addVel(bool isMain, const std::string& id, const ReadFunction& read,
                                     const WriteFunction& write) override;
    std::unique_ptr<TokenIfc> addDeviceId(bool isMain, const std::string& id, const ReadFunction& read,
                                          const WriteFunction& write) override;

    /// True for every contributor whose construction succeeded.
    bool isReady() override;

private:
    // Destroyed in reverse order: the service leaves the bus before the registry that answers its calls is let go.
    std::shared_ptr<ContributionManager> manager_;
    std::shared_ptr<Utils::BusConnection::AdaptorContainer<ContributionSdbusIfc>> container_;
};

} // namespace Tolvek::Orvan::DeviceId
