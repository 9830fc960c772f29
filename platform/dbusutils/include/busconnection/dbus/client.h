#pragma once

#include <busconnection/dbus/factory.h>

#include <sdbus-c++/sdbus-c++.h>

#include <memory>
#include <string>
#include <utility>

namespace Tolvek::Orvan::Utils::BusConnection::Dbus
{

/// Base of the class that reaches objects of type `Interface` through the calls of `Proxy`.
///
/// Making one sends nothing: whether the object exists shows at the first call. Calls block; one connection serves one
/// call at a time.
template <typename Interface, typename Proxy>
class Client : public Interface, protected sdbus::ProxyInterfaces<Proxy>
{
public:
    Client(const Client&) = delete;
    Client(Client&&) = delete;
    Client& operator=(const Client&) = delete;
    Client& operator=(Client&&) = delete;

    ~Client() override { this->unregisterProxy(); }

    /// The D-Bus interface that the client speaks.
    [[nodiscard]] static std::string interfaceName() { return Proxy::INTERFACE_NAME; }

protected:
    /// \throws std::invalid_argument if the factory is not one for D-Bus
    /// \throws sdbus::Error          if the name or the path is not one that D-Bus allows
    Client(std::shared_ptr<FactoryIfc> factory, std::string objectPath, std::string serviceName)
        : sdbus::ProxyInterfaces<Proxy>(asDbusFactory(factory)->connection(), std::move(serviceName),
                                        std::move(objectPath))
        , factory_{std::move(factory)}
    {
        this->registerProxy();
    }

    /// The calls. They change nothing here, whatever the generated code declares.
    [[nodiscard]] Proxy& proxy() const { return const_cast<Client&>(*this); }

private:
    std::shared_ptr<FactoryIfc> factory_;
};

} // namespace Tolvek::Orvan::Utils::BusConnection::Dbus
