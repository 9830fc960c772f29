#include <deviceid/service_contributor.h>

#include "dbus/contribution_sdbus_ifc.h"
#include "dbus/names.h"

#include <busconnection/adaptor_container.h>
#include <busconnection/common_path.h>
#include <busconnection/dbus/factory.h>
#include <deviceid/contribution_manager.h>

#include <logger/logger.h>

#include <sdbus-c++/sdbus-c++.h>

#include <algorithm>
#include <string>
#include <string_view>
#include <utility>

namespace Tolvek::Orvan::DeviceId
{

namespace
{

using Container = Utils::BusConnection::AdaptorContainer<ContributionSdbusIfc>;

/// The path below the root that the bus-connection library puts in front of it again.
std::string relativeObjectPath()
{
    const std::string_view root = Utils::BusConnection::CommonPath;
    std::string_view path = kObjectPath;
    if (path.substr(0, root.size()) == root)
        path.remove_prefix(std::min(root.size() + 1, path.size()));
    return std::string{path};
}

std::shared_ptr<Container> exportOnBus(const std::string& busName, Utils::BusConnection::Dbus::BusType busType,
                                       const std::shared_ptr<ServiceIfc>& service)
{
    const auto factory = std::make_shared<Utils::BusConnection::Dbus::Factory>(busName, busType);
    auto container = std::make_shared<Container>(relativeObjectPath(), service);
    container->setCommunicator(factory->createService(container));
    return container;
}

} // namespace

ServiceContributor::ServiceContributor(std::string name, Utils::BusConnection::Dbus::BusType busType)
    : manager_{ContributionManager::instance()}
{
    const auto busName = std::string{kBaseBusName} + "." + std::move(name);
    try
    {
        container_ = exportOnBus(busName, busType, manager_);
    }
    catch (const sdbus::Error& error)
    {
        Log::orvanDoLog(Log::Severity::Error, "ServiceContributor() throws %s", {}, error.what());
        throw;
    }
}

/// A running handler holds the container, too. Without ending the service here, it would end on the handler's thread,
/// some time after this destructor has returned and the process has gone on to destroy what its functions use.
ServiceContributor::~ServiceContributor()
{
    container_->endService();
}

std::unique_ptr<TokenIfc> ServiceContributor::addVel(bool isMain, const std::string& id, const ReadFunction& read,
                                                     const WriteFunction& write)
{
    return manager_->addVel(isMain, id, read, write);
}

std::unique_ptr<TokenIfc> ServiceContributor::addDeviceId(bool isMain, const std::string& id, const ReadFunction& read,
                                                          const WriteFunction& write)
{
    return manager_->addDeviceId(isMain, id, read, write);
}

bool ServiceContributor::isReady()
{
    return container_ != nullptr;
}

} // namespace Tolvek::Orvan::DeviceId
