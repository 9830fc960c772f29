#pragma once

#include <busconnection/bus_object.h>
#include <busconnection/export.h>
#include <busconnection/factory_ifc.h>

#include <logger/logger.h>

#include <functional>
#include <memory>
#include <string>
#include <type_traits>
#include <typeindex>
#include <typeinfo>
#include <unordered_map>
#include <vector>

namespace Tolvek::Orvan::Utils::BusConnection
{

/// Makes the service for a bus object, or returns an empty handle when the object is of another interface type.
using ServiceCreator =
    std::function<std::shared_ptr<void>(std::shared_ptr<FactoryIfc> factory, std::shared_ptr<BusObject> object)>;

/// How clients of one interface type are made.
struct ClientRegistration
{
    std::string interfaceName;
    std::function<std::shared_ptr<BusObject>(const std::shared_ptr<FactoryIfc>& factory, const std::string& objectPath,
                                             const std::string& serviceName)>
        creator;
};

/// The process-wide registries of what factories of one kind can make.
///
/// Libraries register their classes from static initialisers, while they are loaded and no other thread uses the
/// registries; afterwards these are only read, so they have no lock. Every library that registers something holds a
/// definition of the two members and the dynamic linker makes one of them; the library of the factory class, which all
/// others are linked against and which is therefore initialised first, has built them by then.
template <typename FactoryType>
class BUSUTILS_EXPORT FactoryBase
{
public:
    /// Registers `ServiceType(factory, object)` as the service of bus objects of type `Interface`.
    template <typename Interface, typename ServiceType>
    static std::enable_if_t<std::is_base_of_v<BusObject, Interface>, bool> registerServiceClass()
    {
        Log::orvanDoLog(Log::Severity::Trace, "registerServiceClass()", {});
        mRegisteredServices.push_back(&createServiceFor<Interface, ServiceType>);
        return true;
    }

    /// Registers `ClientType(factory, object path, service name)` as the client of `Interface`; the first registration
    /// of an interface type wins. \return whether it was this one
    template <typename Interface, typename ClientType>
    static bool registerClientClass()
    {
        Log::orvanDoLog(Log::Severity::Trace, "registerClientClass()", {});
        return mRegisteredClients
            .try_emplace(std::type_index{typeid(Interface)},
                         ClientRegistration{ClientType::interfaceName(), &createClientOf<ClientType>})
            .second;
    }

    static std::vector<ServiceCreator> mRegisteredServices;
    static std::unordered_map<std::type_index, ClientRegistration> mRegisteredClients;

private:
    template <typename Interface, typename ServiceType>
    static std::shared_ptr<void> createServiceFor(const std::shared_ptr<FactoryIfc>& factory,
                                                  const std::shared_ptr<BusObject>& object)
    {
        auto served = std::dynamic_pointer_cast<Interface>(object);
        if (!served)
            return {};
        return std::make_shared<ServiceType>(factory, std::move(served));
    }

    template <typename ClientType>
    static std::shared_ptr<BusObject> createClientOf(const std::shared_ptr<FactoryIfc>& factory,
                                                     const std::string& objectPath, const std::string& serviceName)
    {
        return std::make_shared<ClientType>(factory, objectPath, serviceName);
    }
};

template <typename FactoryType>
std::vector<ServiceCreator> FactoryBase<FactoryType>::mRegisteredServices;

template <typename FactoryType>
std::unordered_map<std::type_index, ClientRegistration> FactoryBase<FactoryType>::mRegisteredClients;

} // namespace Tolvek::Orvan::Utils::BusConnection
