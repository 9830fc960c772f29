#pragma once

#include <busconnection/common_path.h>
#include <busconnection/dbus/factory.h>

#include <logger/logger.h>

#include <sdbus-c++/sdbus-c++.h>

#include <memory>
#include <stdexcept>
#include <string>
#include <utility>

namespace Tolvek::Orvan::Utils::BusConnection::Dbus
{

/// An object on the bus that serves a bus object of type `Interface` through the methods of `Adaptor`.
///
/// It is put on the bus below `*Root` by its constructor, while dispatching is paused, so that no call reaches it
/// before the derived part exists. The other end is the derived class's: its destructor calls leaveBus() first, so that
/// no call reaches it once that part is gone. The bus object is held weakly, its container owns the service.
///
/// Handlers run on the thread of the connection, one at a time.
template <typename Interface, typename Adaptor, const char* const* Root>
class Service : public sdbus::AdaptorInterfaces<Adaptor>, virtual Log::Logger
{
public:
    Service(const Service&) = delete;
    Service(Service&&) = delete;
    Service& operator=(const Service&) = delete;
    Service& operator=(Service&&) = delete;

protected:
    /// \throws std::invalid_argument if the factory is not one for D-Bus
    /// \throws sdbus::Error          if the object cannot be put on the bus
    Service(const std::shared_ptr<FactoryIfc>& factory, const std::shared_ptr<Interface>& object,
            const std::string& relativePath)
        : sdbus::AdaptorInterfaces<Adaptor>(asDbusFactory(factory)->connection(),
                                            std::string{*Root} + "/" + relativePath)
        , object_{object}
        , factory_{asDbusFactory(factory)}
    {
        log(Log::Severity::DetailedTrace, "Register adaptor, object path = %s", {}, this->getObjectPath());
        this->registerAdaptor();
    }

    ~Service() { this->unregisterAdaptor(); }

    /// Takes the object off the bus; waits for a handler that is still running.
    void leaveBus()
    {
        const Factory::DispatchPause pause{*factory_};
        this->unregisterAdaptor();
    }

    /// \throws std::runtime_error if the bus object is gone
    [[nodiscard]] std::shared_ptr<Interface> servedObject() const
    {
        if (auto object = object_.lock())
            return object;
        log(Log::Severity::Error, "Failed to get object connected to %s", {}, Adaptor::INTERFACE_NAME);
        throw std::runtime_error{std::string{"Failed to get object connected to "} + Adaptor::INTERFACE_NAME};
    }

    /// The well-known name of the connection, or its unique name when it has no other.
    [[nodiscard]] std::string busName() const
    {
        const auto& uniqueName = factory_->uniqueName();
        if (const auto& wellKnownName = factory_->busName())
            return *wellKnownName;
        log(Log::Severity::Warning, "No bus name set for connection. Returning unique name", {});
        return uniqueName;
    }

private:
    std::weak_ptr<Interface> object_;
    std::shared_ptr<Factory> factory_;
};

} // namespace Tolvek::Orvan::Utils::BusConnection::Dbus
