#pragma once

#include <busconnection/adaptor_container_fwd.h>
#include <busconnection/bus_object.h>

#include <logger/logger.h>

#include <memory>
#include <type_traits>
#include <utility>

namespace Tolvek::Orvan::Utils::BusConnection
{

/// A bus object together with the service that was made to serve it on a bus.
///
/// The service refers to its bus object weakly, so the container is the owner of both: the object is on the bus for as
/// long as the container lives. Not thread-safe; release it on any thread, a handler of its own service included.
template <typename Interface>
class AdaptorContainer<Interface, std::enable_if_t<std::is_base_of_v<BusObject, Interface>>> : public Interface,
                                                                                               virtual Log::Logger
{
public:
    /// \param args what the bus object itself is constructed from
    template <typename... Args>
    explicit AdaptorContainer(Args&&... args)
        : Logger("Tolvek::Orvan::Utils::BusConnection::AdaptorContainer", "", std::make_shared<Log::LoggerImpl>())
        , Interface(std::forward<Args>(args)...)
    {
        log(Log::Severity::Trace, "AdaptorContainer()", {});
    }

    /// Keeps the service that a factory has made for this object, in place of any earlier one.
    void setCommunicator(std::shared_ptr<void> service)
    {
        log(Log::Severity::Trace, "setCommunicator()", {});
        communicator_ = std::move(service);
    }

    /// Ends the service at once, also while one of its handlers holds on to the container: returns when the running
    /// handler has, unless that is the caller.
    void endService() noexcept { communicator_.reset(); }

private:
    std::shared_ptr<void> communicator_;
};

} // namespace Tolvek::Orvan::Utils::BusConnection
