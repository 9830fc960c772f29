#pragma once

#include "configuration.h"
#include "device.h"
#include "report.h"

#include <deviceid/token.h>

#include <map>
#include <memory>
#include <string>
#include <vector>

namespace Tolvek::Orvan::DeviceId::Provider
{

/// The devices in the registry of this process.
class PublishedDevices
{
public:
    explicit PublishedDevices(const Report& report);

    /// Makes these the devices: those that are as before stay untouched, so that no caller notices; the others leave,
    /// and the new ones come.
    /// \return the ids of the new ones
    std::vector<std::string> publish(const std::vector<DeviceSettings>& devices);

    [[nodiscard]] std::size_t size() const noexcept { return entries_.size(); }

private:
    struct Entry
    {
        std::shared_ptr<Device> device;
        std::unique_ptr<TokenIfc> token;
    };

    [[nodiscard]] Entry makeEntry(const DeviceSettings& settings) const;

    const Report& report_;
    std::map<std::string, Entry> entries_;
};

} // namespace Tolvek::Orvan::DeviceId::Provider
