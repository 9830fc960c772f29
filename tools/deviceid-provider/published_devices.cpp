#include "published_devices.h"

#include <deviceid/contribution_manager.h>

#include <algorithm>
#include <iterator>

namespace Tolvek::Orvan::DeviceId::Provider
{

PublishedDevices::PublishedDevices(const Report& report)
    : report_{report}
{
}

std::vector<std::string> PublishedDevices::publish(const std::vector<DeviceSettings>& devices)
{
    // All that leave go first: a new device may have their id or be the main device in their place.
    for (auto entry = entries_.begin(); entry != entries_.end();)
    {
        const auto& settings = entry->second.device->settings();
        const bool stays = std::find(devices.begin(), devices.end(), settings) != devices.end();
        entry = stays ? std::next(entry) : entries_.erase(entry);
    }
    std::vector<std::string> fresh;
    for (const auto& settings : devices)
    {
        if (entries_.count(settings.id) != 0)
            continue;
        entries_.emplace(settings.id, makeEntry(settings));
        fresh.push_back(settings.id);
    }
    return fresh;
}

PublishedDevices::Entry PublishedDevices::makeEntry(const DeviceSettings& settings) const
{
    const auto registry = ContributionManager::instance();
    const auto device = std::make_shared<Device>(settings, report_);
    device->cleanUp();
    const auto read = [device] { return device->read(); };
    const auto write = [device](const std::string& identity) { device->write(identity); };
    return {device, settings.form == Form::Vel ? registry->addVel(settings.isMain, settings.id, read, write)
                                               : registry->addDeviceId(settings.isMain, settings.id, read, write)};
}

} // namespace Tolvek::Orvan::DeviceId::Provider
