#include <busconnection/dbus/factory.h>

#include "bus.h"
#include "discovery.h"
#include "dispatcher.h"

#include <utility>

namespace Tolvek::Orvan::Utils::BusConnection::Dbus
{

using Log::orvanDoLog;
using Log::Severity;

Factory::Factory(BusType type)
    : type_{type}
    , connection_{openBus(type)}
    , uniqueName_{connection_->getUniqueName()}
{
}

Factory::Factory(std::string busName, BusType type)
    : Factory{type}
{
    connection_->requestName(busName);
    busName_ = std::move(busName);
    dispatcher_ = std::make_unique<Dispatcher>(connection_);
}

Factory::~Factory() = default;

std::shared_ptr<FactoryIfc> Factory::sharedFromBase()
{
    return shared_from_this();
}

std::shared_ptr<void> Factory::createService(const std::shared_ptr<BusObject>& object)
{
    if (!dispatcher_)
        dispatcher_ = std::make_unique<Dispatcher>(connection_);
    const DispatchPause pause{*this};
    for (const auto& creator : mRegisteredServices)
    {
        if (auto service = creator(sharedFromBase(), object))
        {
            dispatcher_->start();
            return dispatcher_->own(std::move(service));
        }
    }
    throw std::invalid_argument{"No service is registered for this type of bus object"};
}

std::vector<std::string> Factory::serviceNames()
{
    if (isServing())
        return std::make_shared<Factory>(type_)->serviceNames();
    auto bus = sdbus::createProxy(*connection_, "org.freedesktop.DBus", "/org/freedesktop/DBus");
    std::vector<std::string> names;
    bus->callMethod("ListNames").onInterface("org.freedesktop.DBus").storeResultsTo(names);
    freshNames_ = names;
    return names;
}

const ClientRegistration* Factory::clientRegistration(std::type_index interfaceType)
{
    const auto found = mRegisteredClients.find(interfaceType);
    return found == mRegisteredClients.end() ? nullptr : &found->second;
}

const ClientRegistration& Factory::requiredRegistration(std::type_index interfaceType)
{
    if (const auto* registration = clientRegistration(interfaceType))
        return *registration;
    orvanDoLog(Severity::Error, "Unknown interface for createClient()", {});
    throw std::invalid_argument{"Unknown interface"};
}

Factory::ObjectsByName Factory::objectsImplementing(const std::string& interfaceName)
{
    if (isServing())
        return std::make_shared<Factory>(type_)->objectsImplementing(interfaceName);
    if (!freshNames_)
        serviceNames();
    const auto names = *std::exchange(freshNames_, std::nullopt);
    return discover(
        connection_, [this] { return tryOpenBus(type_); }, names, interfaceName);
}

Factory::DispatchPause::DispatchPause(Factory& factory)
    : factory_{factory}
{
    if (factory_.dispatcher_)
        factory_.dispatcher_->pause();
}

Factory::DispatchPause::~DispatchPause()
{
    if (factory_.dispatcher_)
        factory_.dispatcher_->resume();
}

std::shared_ptr<Factory> asDbusFactory(const std::shared_ptr<FactoryIfc>& factory)
{
    if (auto dbusFactory = std::dynamic_pointer_cast<Factory>(factory))
        return dbusFactory;
    throw std::invalid_argument{"Not a D-Bus factory"};
}

} // namespace Tolvek::Orvan::Utils::BusConnection::Dbus
