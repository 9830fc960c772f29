#include <deviceid/service_factory.h>

#include <logger/configuration.h>
#include <logger/logger_impl.h>

#include <utility>

namespace Tolvek::Orvan::DeviceId
{

/// What a provider process holds. Destroyed in reverse order: what is logged while the contributor leaves the bus still
/// belongs to this configuration, which the logging library keeps.
struct ServiceFactory::Implementation
{
    std::string name;
    std::shared_ptr<ServiceContributor> contributor;
    std::shared_ptr<Log::LoggerImpl> loggerImpl; ///< empty when the process had configured logging itself
};

ServiceFactory::ServiceFactory(std::string name, Utils::BusConnection::Dbus::BusType busType)
    : implementation_{std::make_unique<Implementation>()}
{
    constexpr unsigned kMaxLogKiB = 1024;

    auto& own = *implementation_;
    own.name = std::move(name);
    own.contributor = std::make_shared<ServiceContributor>(own.name, busType);
    if (Log::Configuration::isInitialized())
        return;
    own.loggerImpl = std::make_shared<Log::LoggerImpl>();
    Log::Configuration::initHosted(own.loggerImpl, true, "/tmp/deviceid/" + own.name + "_service.log",
                                   Log::Severity::DetailedTrace, "/var/log/deviceid_" + own.name + "_service.nv.log",
                                   Log::Severity::Error, kMaxLogKiB);
}

ServiceFactory::~ServiceFactory() = default;

std::shared_ptr<ServiceContributorIfc> ServiceFactory::deviceIdServiceContributor() const
{
    return implementation_->contributor;
}

} // namespace Tolvek::Orvan::DeviceId
