#include "bus_watch.h"

#include <cerrno>
#include <stdexcept>
#include <string_view>
#include <system_error>
#include <utility>

#include <systemd/sd-bus.h>

namespace Tolvek::Orvan::DeviceId::Provider
{

namespace
{

constexpr const char* kDaemon = "org.freedesktop.DBus";
constexpr const char* kDaemonPath = "/org/freedesktop/DBus";

[[noreturn]] void failToWatch(int error)
{
    throw std::runtime_error{"cannot watch the bus: " + std::generic_category().message(-error)};
}

int onOwnerChanged(sd_bus_message* message, void* isNameLost, sd_bus_error* /*error*/)
{
    const char* name = nullptr;
    const char* before = nullptr;
    const char* after = nullptr;
    if (sd_bus_message_read(message, "sss", &name, &before, &after) >= 0 && !std::string_view{before}.empty())
        *static_cast<bool*>(isNameLost) = true;
    return 0;
}

} // namespace

void BusWatch::Close::operator()(sd_bus* bus) const noexcept
{
    sd_bus_flush_close_unref(bus);
}

BusWatch::BusWatch(Utils::BusConnection::Dbus::BusType bus, std::string name)
    : name_{std::move(name)}
{
    sd_bus* opened = nullptr;
    const bool isSystem = bus == Utils::BusConnection::Dbus::BusType::System;
    if (const int result = isSystem ? sd_bus_open_system(&opened) : sd_bus_open_user(&opened); result < 0)
        failToWatch(result);
    bus_.reset(opened);
    // From here on no change is missed; an owner that has gone before is found by asking.
    const std::string match =
        "type='signal',sender='org.freedesktop.DBus',member='NameOwnerChanged',arg0='" + name_ + "'";
    if (const int result = sd_bus_add_match(bus_.get(), nullptr, match.c_str(), onOwnerChanged, &isNameLost_);
        result < 0)
        failToWatch(result);
    if (sd_bus_call_method(bus_.get(), kDaemon, kDaemonPath, kDaemon, "GetNameOwner", nullptr, nullptr, "s",
                           name_.c_str()) < 0)
        isNameLost_ = true;
}

BusWatch::~BusWatch() = default;

void BusWatch::requestReads(const std::vector<std::string>& ids) const
{
    for (const auto& id : ids)
        sd_bus_call_method_async(bus_.get(), nullptr, name_.c_str(), "/com/tolvek/orvan/deviceid",
                                 "com.tolvek.orvan.deviceid.interface", "deviceId", nullptr, nullptr, "s", id.c_str());
}

pollfd BusWatch::pollData() const noexcept
{
    const int events = sd_bus_get_events(bus_.get());
    return {sd_bus_get_fd(bus_.get()), static_cast<short>(events < 0 ? POLLIN : events), 0};
}

void BusWatch::process()
{
    int result = 0;
    do
        result = sd_bus_process(bus_.get(), nullptr);
    while (result > 0);
    if (result < 0 || sd_bus_is_open(bus_.get()) <= 0)
        throw std::runtime_error{"the bus has ended"};
    if (isNameLost_)
        throw std::runtime_error{"the bus has disconnected this program"};
}

} // namespace Tolvek::Orvan::DeviceId::Provider
