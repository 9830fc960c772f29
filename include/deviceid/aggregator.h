#pragma once

#include <deviceid/export.h>
#include <deviceid/service.h>
#include <deviceid/service_discoverer.h>

#include <logger/logger.h>

#include <cstddef>
#include <memory>
#include <string>
#include <vector>

namespace Tolvek::Orvan::DeviceId
{

/// All devices of all services that a discoverer finds, under composite ids: the service's name, "#", the device's id.
/// A composite id is split at its first "#", so device ids may contain one and service names may not.
///
/// Asks the discoverer anew on every call and keeps nothing. Immutable and without a lock: calls may overlap as far as
/// those of the discoverer and of the services may.
class DEVICEID_EXPORT Aggregator : public ServiceIfc, virtual Log::Logger
{
public:
    /// \pre the discoverer is not empty
    explicit Aggregator(std::shared_ptr<ServiceDiscovererIfc> discoverer);

    /// The composite ids in the order of the services and of their lists; duplicates remain.
    /// \throws whatever the discoverer or a service throws
    std::vector<std::string> deviceList() override;

    /// Reads one device and returns its service's answer unchanged. Never throws: a std::exception becomes status 1
    /// with its text as `xml`, anything else status 3.
    std::shared_ptr<Data> deviceId(const std::string& id) const override;

    /// Writes one device and returns its service's status unchanged; failures as for deviceId().
    int setDeviceId(const std::string& id, const std::string& xml) override;

    /// Always "dbus-all".
    std::string name() const override;

    /// The first service whose name is the service part of a composite id.
    /// \throws std::runtime_error if the id is empty or has no "#", or no service has that name
    std::shared_ptr<ServiceIfc> servicePtr(const std::string& id) const;

    /// The part of a composite id before its first "#", possibly empty.
    /// \throws std::runtime_error if there is no "#"
    std::string extractServiceName(const std::string& id) const;

    /// The part of a composite id after its first "#", possibly empty.
    /// \throws std::runtime_error if there is no "#"
    std::string extractDeviceName(const std::string& id) const;

private:
    std::size_t delimiterPosition(const std::string& id) const;
    [[noreturn]] void fail(const std::string& message) const;

    std::shared_ptr<ServiceDiscovererIfc> discoverer_;
    char delimiter_{'#'};
};

} // namespace Tolvek::Orvan::DeviceId
