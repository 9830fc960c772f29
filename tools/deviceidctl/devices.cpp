#include "devices.h"

#include "bus_errors.h"
#include "failure.h"
#include "output.h"

#include <busconnection/dbus/factory.h>
#include <deviceid/service_discoverer.h>

#include <sdbus-c++/sdbus-c++.h>

#include <algorithm>
#include <iterator>
#include <string_view>
#include <utility>

namespace Tolvek::Orvan::DeviceId::Tools::Ctl
{

namespace
{

using Clock = std::chrono::steady_clock;

constexpr const char* kNamePrefix = "com.tolvek.orvan.deviceid.";
constexpr char kDelimiter = '#';

std::string compositeId(const ServiceIfc& service, const std::string& deviceId)
{
    return service.name() + kDelimiter + deviceId;
}

std::string describe(const LibraryLog::PassedOver& peer)
{
    return peer.busName + " was passed over: " + peer.reason;
}

Failure readFailure(const std::string& attempt, const Data& data)
{
    if (data.status == 1)
        return {NotFound, "not-found", attempt + ": its provider does not have it; 'list' shows all devices"};
    if (data.status == 2)
        return {Failed, "device", attempt + ": its provider cannot read it; the log of the provider says why"};
    return failedCall(attempt, data.xml);
}

} // namespace

Devices::Devices(BusType bus)
    : bus_{bus}
{
    try
    {
        services_ = DbusDiscoverer{bus}.services();
        passedOver_ = LibraryLog::takePassedOver();
    }
    catch (const sdbus::Error& error)
    {
        throw noBus(bus, error);
    }
}

std::vector<LibraryLog::PassedOver> Devices::silentProviders() const
{
    std::vector<LibraryLog::PassedOver> silent;
    std::copy_if(passedOver_.begin(), passedOver_.end(), std::back_inserter(silent),
                 [](const auto& peer) { return isPlatformName(peer.busName); });
    return silent;
}

bool Devices::warnOfSilentProviders() const
{
    const auto silent = silentProviders();
    for (const auto& peer : silent)
        warn(describe(peer));
    return !silent.empty();
}

std::vector<std::string> Devices::namesWithoutDevices() const
{
    std::vector<std::string> names;
    try
    {
        const auto factory = std::make_shared<Utils::BusConnection::Dbus::Factory>(bus_);
        const auto proxy = sdbus::createProxy(factory->connection(), "org.freedesktop.DBus", "/org/freedesktop/DBus");
        proxy->callMethod("ListNames").onInterface("org.freedesktop.DBus").storeResultsTo(names);
    }
    catch (const sdbus::Error& error)
    {
        throw noBus(bus_, error);
    }
    const auto isKnown = [this](const std::string& name)
    {
        return name.rfind(kNamePrefix, 0) != 0 || serviceNamed(name) ||
               std::any_of(passedOver_.begin(), passedOver_.end(),
                           [&](const auto& peer) { return peer.busName == name; });
    };
    names.erase(std::remove_if(names.begin(), names.end(), isKnown), names.end());
    return names;
}

std::vector<Provider> Devices::providers() const
{
    std::vector<Provider> providers;
    for (const auto& service : services_)
    {
        LibraryLog::takeError();
        const auto start = Clock::now();
        Provider provider{service, service->deviceList(), {}, Clock::now() - start};
        provider.duration = Clock::now() - start;
        // An id is never empty: this is how a list that failed looks.
        if (provider.deviceIds == std::vector<std::string>{std::string{}})
        {
            provider.deviceIds.clear();
            provider.error = failedCall("does not tell its devices", LibraryLog::takeError()).what();
        }
        providers.push_back(std::move(provider));
    }
    return providers;
}

std::vector<Device> Devices::readAll() const
{
    std::vector<Device> devices;
    for (const auto& provider : providers())
    {
        for (const auto& deviceId : provider.deviceIds)
            devices.push_back(readDevice(*provider.service, deviceId));
        if (!provider.error.empty())
        {
            Device device;
            device.id = device.provider = provider.service->name();
            device.error = provider.error;
            devices.push_back(std::move(device));
        }
    }
    return devices;
}

std::vector<Device> Devices::readMain() const
{
    auto devices = readAll();
    devices.erase(std::remove_if(devices.begin(), devices.end(), [](const Device& device) { return !device.isMain; }),
                  devices.end());
    return devices;
}

Target Devices::find(const std::string& id) const
{
    const auto delimiter = id.find(kDelimiter);
    if (delimiter == std::string::npos)
        return findByDeviceId(id);
    const auto name = id.substr(0, delimiter);
    const auto deviceId = id.substr(delimiter + 1);
    auto service = serviceNamed(name);
    if (!service && name.find('.') == std::string::npos)
        service = serviceNamed(kNamePrefix + name);
    if (service)
        return {service, deviceId, compositeId(*service, deviceId)};
    for (const auto& peer : passedOver_)
    {
        if (peer.busName == name || peer.busName == kNamePrefix + name)
            throw Failure{Failed, "no-reply", "no device " + id + ": " + describe(peer)};
    }
    throw Failure{NotFound, "not-found",
                  "no device " + id + ": no provider " + name + " on the " + nameOf(bus_) +
                      " bus; 'list' shows all devices"};
}

std::shared_ptr<ServiceIfc> Devices::serviceNamed(const std::string& name) const
{
    const auto found =
        std::find_if(services_.begin(), services_.end(), [&](const auto& service) { return service->name() == name; });
    return found == services_.end() ? nullptr : *found;
}

Target Devices::findByDeviceId(const std::string& deviceId) const
{
    std::vector<Target> targets;
    for (const auto& provider : providers())
    {
        const auto& ids = provider.deviceIds;
        if (std::find(ids.begin(), ids.end(), deviceId) != ids.end())
            targets.push_back({provider.service, deviceId, compositeId(*provider.service, deviceId)});
    }
    if (targets.empty())
    {
        auto message = "no device " + deviceId + " on the " + nameOf(bus_) + " bus; 'list' shows all devices";
        // In the message, not a warning of its own: waiting for a device comes here again and again.
        for (const auto& peer : silentProviders())
            message += "; " + describe(peer);
        throw Failure{NotFound, "not-found", message};
    }
    if (targets.size() > 1)
    {
        std::string candidates;
        for (const auto& target : targets)
            candidates += (candidates.empty() ? "" : ", ") + target.id;
        throw Failure{NotFound, "ambiguous", deviceId + " is ambiguous; give one of " + candidates};
    }
    return targets.front();
}

std::size_t Devices::providersNamed(const std::string& busName) const
{
    return static_cast<std::size_t>(std::count_if(services_.begin(), services_.end(),
                                                  [&](const auto& service) { return service->name() == busName; }));
}

Device readDevice(const ServiceIfc& service, const std::string& deviceId)
{
    Device device;
    device.id = compositeId(service, deviceId);
    device.provider = service.name();
    const auto start = Clock::now();
    const auto data = service.deviceId(deviceId);
    device.duration = Clock::now() - start;
    device.isMain = data->isMain;
    device.status = data->status;
    if (data->status != 0)
    {
        device.error = readFailure("cannot be read", *data).what();
        return device;
    }
    device.xml = data->xml;
    try
    {
        device.identity = validateXml(device.xml, "its document");
    }
    catch (const InvalidIdentity& error)
    {
        device.error = error.what();
    }
    return device;
}

std::string readDocument(const Target& target)
{
    const auto data = target.service->deviceId(target.deviceId);
    if (data->status != 0)
        throw readFailure("cannot read " + target.id, *data);
    return data->xml;
}

std::string shortId(const std::string& id)
{
    const std::string_view prefix{kNamePrefix};
    const auto name = std::string_view{id}.substr(0, id.find(kDelimiter));
    const bool canBeFound =
        name.substr(0, prefix.size()) == prefix && name.find('.', prefix.size()) == std::string::npos;
    return canBeFound ? id.substr(prefix.size()) : id;
}

bool isPlatformName(const std::string& busName)
{
    return busName.rfind("com.tolvek.", 0) == 0;
}

} // namespace Tolvek::Orvan::DeviceId::Tools::Ctl
