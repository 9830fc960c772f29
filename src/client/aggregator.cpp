#include <deviceid/aggregator.h>

#include <algorithm>
#include <exception>
#include <stdexcept>
#include <utility>

namespace Tolvek::Orvan::DeviceId
{

using Log::LoggerImpl;
using Log::Severity;

namespace
{
constexpr int failed = 1;
constexpr int failedForUnknownReason = 3;

std::shared_ptr<Data> failure(int status, std::string text)
{
    auto data = std::make_shared<Data>();
    data->status = status;
    data->xml = std::move(text);
    return data;
}
} // namespace

Aggregator::Aggregator(std::shared_ptr<ServiceDiscovererIfc> discoverer)
    : Logger("Tolvek::Orvan::DeviceId::Aggregator", "", std::make_shared<LoggerImpl>())
    , discoverer_{std::move(discoverer)}
{
}

std::vector<std::string> Aggregator::deviceList()
{
    log(Severity::DetailedTrace, "+deviceList()", {});
    std::vector<std::string> ids;
    for (const auto& service : discoverer_->services())
    {
        const auto devices = service->deviceList();
        log(Severity::DetailedTrace, "Found DeviceID service with name %s", {}, service->name());
        for (const auto& device : devices)
        {
            log(Severity::DetailedTrace, "Found deviceid %s", {}, device);
            ids.push_back(service->name() + delimiter_ + device);
        }
    }
    log(Severity::DetailedTrace, "-deviceList(): found %u devices", {}, ids.size());
    return ids;
}

std::shared_ptr<Data> Aggregator::deviceId(const std::string& id) const
{
    log(Severity::DetailedTrace, "deviceId(id='%s')", {}, id);
    try
    {
        return servicePtr(id)->deviceId(extractDeviceName(id));
    }
    catch (const std::exception& error)
    {
        return failure(failed, error.what());
    }
    catch (...)
    {
        log(Severity::Error, "Unknown error thrown by deviceId(id=%s)", {}, id);
        return failure(failedForUnknownReason, {});
    }
}

int Aggregator::setDeviceId(const std::string& id, const std::string& xml)
{
    log(Severity::DetailedTrace, "setDeviceId(id = '%s', xmlData='%s')", {}, id, xml);
    try
    {
        return servicePtr(id)->setDeviceId(extractDeviceName(id), xml);
    }
    catch (const std::exception& error)
    {
        log(Severity::Error, "Error while setting deviceid id=%s to '%s'. Error was: %s", {}, id, xml, error.what());
        return failed;
    }
    catch (...)
    {
        log(Severity::Error, "Unknown error while setting deviceid id=%s to '%s'", {}, id, xml);
        return failedForUnknownReason;
    }
}

std::string Aggregator::name() const
{
    return "dbus-all";
}

std::shared_ptr<ServiceIfc> Aggregator::servicePtr(const std::string& id) const
{
    if (id.empty())
        fail("Invalid deviceId identifier: empty string");

    // Split before asking: an id that no service can own is not worth a discovery.
    const auto serviceName = extractServiceName(id);
    const auto services = discoverer_->services();
    const auto owner = std::find_if(services.begin(), services.end(),
                                    [&](const auto& service) { return service->name() == serviceName; });
    if (owner == services.end())
        fail("No DeviceId service found for id '" + id + "'");
    return *owner;
}

std::string Aggregator::extractServiceName(const std::string& id) const
{
    return id.substr(0, delimiterPosition(id));
}

std::string Aggregator::extractDeviceName(const std::string& id) const
{
    return id.substr(delimiterPosition(id) + 1);
}

std::size_t Aggregator::delimiterPosition(const std::string& id) const
{
    const auto position = id.find(delimiter_);
    if (position == std::string::npos)
        fail("DeviceId identification string (" + id + ") does not contain delimiter (" + delimiter_ + ")");
    return position;
}

void Aggregator::fail(const std::string& message) const
{
    log(Severity::Error, "%s", {}, message);
    throw std::runtime_error(message);
}

} // namespace Tolvek::Orvan::DeviceId
