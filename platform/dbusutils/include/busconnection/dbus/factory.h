#pragma once

#include <busconnection/dbus/bus_type.h>
#include <busconnection/dbus/export.h>
#include <busconnection/factory_base.h>

#include <sdbus-c++/sdbus-c++.h>

#include <map>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <typeindex>
#include <typeinfo>
#include <vector>

namespace Tolvek::Orvan::Utils::BusConnection::Dbus
{

class Dispatcher;

/// One connection to a D-Bus message bus, and the services and clients that share it.
///
/// With a well-known name it is a provider's connection: the name is owned from the constructor on, and a thread of
/// its own takes calls from the moment when the first service is complete. Without one it is a client's: it starts no
/// thread, and everything happens inside the caller's calls.
///
/// Owned by shared pointers, because services and clients keep their factory alive. Its calls must not overlap;
/// services may be released on any thread. What a factory that serves asks of the bus goes through another connection,
/// because a call on its own could swallow the wake-up of calls that arrive meanwhile: do not call through connection()
/// either.
class DBUSUTILS_EXPORT Factory : public FactoryIfc,
                                 public FactoryBase<Factory>,
                                 public std::enable_shared_from_this<Factory>
{
public:
    /// Bus names and, for each, the paths of its objects that implement an interface; both in ascending order.
    using ObjectsByName = std::map<std::string, std::vector<std::string>>;

    /// \throws sdbus::Error if the bus cannot be reached or, for the second form, refuses the name
    /// \{
    explicit Factory(BusType type);
    Factory(std::string busName, BusType type);
    /// \}
    Factory(const Factory&) = delete;
    Factory(Factory&&) = delete;
    Factory& operator=(const Factory&) = delete;
    Factory& operator=(Factory&&) = delete;
    ~Factory() override;

    std::shared_ptr<FactoryIfc> sharedFromBase() override;

    [[nodiscard]] sdbus::IConnection& connection() const noexcept { return *connection_; }
    /// The well-known name that the factory was made with.
    [[nodiscard]] const std::optional<std::string>& busName() const noexcept { return busName_; }
    /// The name that the bus gave the connection. Asked once: a running handler would keep a second question waiting.
    [[nodiscard]] const std::string& uniqueName() const noexcept { return uniqueName_; }

    /// Offers the object to the registered service creators, in the order of their registration, and returns the
    /// first service that one of them makes; calls to it are answered as soon as it is complete. Releasing the handle
    /// ends the service, on any thread.
    /// \throws std::invalid_argument if no creator knows the type of the object
    /// \throws sdbus::Error           if the service cannot be put on the bus
    std::shared_ptr<void> createService(const std::shared_ptr<BusObject>& object);

    /// Every name on the bus, unique names included. \throws sdbus::Error if the bus does not answer
    std::vector<std::string> serviceNames();

    /// How clients of an interface type are made; null when none has been registered.
    [[nodiscard]] static const ClientRegistration* clientRegistration(std::type_index interfaceType);

    /// Finds every object below CommonPath that implements an interface; see discovery.h for who is asked and how
    /// long. Starts from the list of names that serviceNames() returned last, if it has not been used up yet.
    /// \throws sdbus::Error if the bus fails; a peer that fails is only passed over
    ObjectsByName objectsImplementing(const std::string& interfaceName);

    /// One client for every object on the bus that implements the interface registered for `Interface`.
    /// \throws std::invalid_argument if no client is registered for it
    template <typename Interface>
    std::vector<std::shared_ptr<Interface>> createAllClients();

    /// Holds dispatching for as long as it lives, so that an object can enter or leave the bus whole.
    class DBUSUTILS_EXPORT DispatchPause
    {
    public:
        explicit DispatchPause(Factory& factory);
        ~DispatchPause();
        DispatchPause(const DispatchPause&) = delete;
        DispatchPause(DispatchPause&&) = delete;
        DispatchPause& operator=(const DispatchPause&) = delete;
        DispatchPause& operator=(DispatchPause&&) = delete;

    private:
        Factory& factory_;
    };

private:
    [[nodiscard]] bool isServing() const noexcept { return dispatcher_ != nullptr; }
    template <typename Interface>
    std::shared_ptr<Interface> createClient(const std::string& objectPath, const std::string& serviceName);
    static const ClientRegistration& requiredRegistration(std::type_index interfaceType);

    BusType type_;
    std::optional<std::string> busName_;
    std::shared_ptr<sdbus::IConnection> connection_;
    std::string uniqueName_;
    std::unique_ptr<Dispatcher> dispatcher_;
    std::optional<std::vector<std::string>> freshNames_;
};

/// The D-Bus factory behind a factory of unknown kind. \throws std::invalid_argument if it is of another kind
DBUSUTILS_EXPORT std::shared_ptr<Factory> asDbusFactory(const std::shared_ptr<FactoryIfc>& factory);

template <typename Interface>
std::vector<std::shared_ptr<Interface>> Factory::createAllClients()
{
    if (isServing())
        return std::make_shared<Factory>(type_)->createAllClients<Interface>();
    Log::orvanDoLog(Log::Severity::Trace, "createAllClients()", {});
    const auto& registration = requiredRegistration(typeid(Interface));
    std::vector<std::shared_ptr<Interface>> clients;
    for (const auto& [serviceName, objectPaths] : objectsImplementing(registration.interfaceName))
    {
        for (const auto& objectPath : objectPaths)
            clients.push_back(createClient<Interface>(objectPath, serviceName));
    }
    return clients;
}

template <typename Interface>
std::shared_ptr<Interface> Factory::createClient(const std::string& objectPath, const std::string& serviceName)
{
    Log::orvanDoLog(Log::Severity::Trace, "createClient()", {});
    const auto& registration = requiredRegistration(typeid(Interface));
    auto client = std::dynamic_pointer_cast<Interface>(registration.creator(sharedFromBase(), objectPath, serviceName));
    if (!client)
        throw std::invalid_argument{"The registered client of " + registration.interfaceName + " is of another type"};
    return client;
}

} // namespace Tolvek::Orvan::Utils::BusConnection::Dbus
