#pragma once

#include <busconnection/dbus/bus_type.h>

#include <memory>
#include <string>
#include <vector>

#include <poll.h>

struct sd_bus;

namespace Tolvek::Orvan::DeviceId::Provider
{

/// The bus as others see it.
///
/// Notices that nobody can reach the devices any more. The library's own connection says so only in the log, so this
/// is a second one, which sees the bus end and sees it take the name away from the first.
class BusWatch
{
public:
    /// \param name owned by this process when this is called
    /// \throws std::runtime_error if the bus cannot be watched or nobody owns the name
    BusWatch(Utils::BusConnection::Dbus::BusType bus, std::string name);
    ~BusWatch();
    BusWatch(const BusWatch&) = delete;
    BusWatch(BusWatch&&) = delete;
    BusWatch& operator=(const BusWatch&) = delete;
    BusWatch& operator=(BusWatch&&) = delete;

    /// Has the devices read, without waiting for it, so that what is wrong with one is told now. Over the bus, because
    /// the library that parses identities leaves memory behind when it is used by several threads in turn.
    void requestReads(const std::vector<std::string>& ids) const;

    /// What to wait for before process() is called again.
    [[nodiscard]] pollfd pollData() const noexcept;

    /// \throws std::runtime_error if the devices cannot be reached any more
    void process();

private:
    struct Close
    {
        void operator()(sd_bus* bus) const noexcept;
    };

    std::string name_;
    std::unique_ptr<sd_bus, Close> bus_;
    bool isNameLost_ = false;
};

} // namespace Tolvek::Orvan::DeviceId::Provider
