#include "support/log_capture.h"
#include "support/private_bus.h"

#include <busconnection/dbus/factory.h>

#include <sdbus-c++/sdbus-c++.h>

#include <gtest/gtest.h>

#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <future>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

namespace
{

using Tolvek::Orvan::Utils::BusConnection::Dbus::BusType;
using Tolvek::Orvan::Utils::BusConnection::Dbus::Factory;

/// A socket that does not wait.
class Socket
{
public:
    Socket()
        : fd_{socket(AF_UNIX, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0)}
    {
    }
    ~Socket()
    {
        if (fd_ >= 0)
            close(fd_);
    }
    Socket(Socket&& other) noexcept
        : fd_{std::exchange(other.fd_, -1)}
    {
    }
    Socket(const Socket&) = delete;
    Socket& operator=(const Socket&) = delete;
    Socket& operator=(Socket&&) = delete;

    [[nodiscard]] bool connectTo(const std::string& path) const
    {
        sockaddr_un address{};
        address.sun_family = AF_UNIX;
        path.copy(address.sun_path, sizeof(address.sun_path) - 1);
        return connect(fd_, reinterpret_cast<const sockaddr*>(&address), sizeof(address)) == 0;
    }

private:
    int fd_;
};

/// A bus with the limits of a system bus.
class FullBus : public testing::Test
{
protected:
    FullBus()
    {
        setenv("DEVICEID_TEST_BUS", "system", 1);
        bus_.emplace();
    }

    /// Takes all connections that are left for this user.
    void fill()
    {
        try
        {
            for (;;)
                connections_.push_back(sdbus::createSessionBusConnection());
        }
        catch (const sdbus::Error&)
        {
            EXPECT_GT(connections_.size(), 200U) << "that was not the limit of the bus";
        }
    }

    Tests::LogCapture log_;
    std::optional<Tests::PrivateBus> bus_;
    std::vector<std::unique_ptr<sdbus::IConnection>> connections_;
};

TEST_F(FullBus, opensWhenAConnectionClosesInTimeAndOtherwiseFailsWithItsError)
{
    fill();
    EXPECT_THROW(std::make_shared<Factory>(BusType::Session), sdbus::Error);

    auto opening = std::async(std::launch::async, [] { return std::make_shared<Factory>(BusType::Session); });
    connections_.pop_back();
    EXPECT_NE(opening.get()->uniqueName(), "");
}

TEST_F(FullBus, hidesNoProviderBehindManySilentPeers)
{
    constexpr int kSilent = 150; // more than fit on one connection
    const auto mute = sdbus::createSessionBusConnection();
    for (int i = 0; i < kSilent; ++i)
        mute->requestName("org.example.Silent" + std::to_string(i));
    const auto provider = sdbus::createSessionBusConnection("com.tolvek.orvan.deviceid.healthy");
    const auto object = sdbus::createObject(*provider, "/com/tolvek/orvan/deviceid");
    object->registerMethod("ping").onInterface("com.tolvek.orvan.deviceid.interface").implementedAs([] {});
    object->finishRegistration();
    provider->enterEventLoopAsync();
    const auto factory = std::make_shared<Factory>(BusType::Session);
    fill();

    EXPECT_EQ(factory->objectsImplementing("com.tolvek.orvan.deviceid.interface").size(), 1U);
    EXPECT_TRUE(log_.contains(2, "No further connection to the bus: "));
    EXPECT_TRUE(log_.contains(2, ": the bus has no connection left on which to ask it"));
}

TEST_F(FullBus, thatDoesNotEvenAcceptIsAnErrorAfterSomeAttempts)
{
    kill(bus_->pid(), SIGSTOP);
    const auto& address = bus_->address(); // unix:path=...,guid=...
    const auto begin = address.find('=') + 1;
    const auto path = address.substr(begin, address.find(',') - begin);
    std::vector<Socket> queue;
    while (queue.emplace_back().connectTo(path))
    {
    }
    ASSERT_EQ(errno, EAGAIN);
    EXPECT_THROW(std::make_shared<Factory>(BusType::Session), sdbus::Error);

    queue.clear();
    kill(bus_->pid(), SIGCONT);
    EXPECT_NO_THROW(std::make_shared<Factory>(BusType::Session));
}

} // namespace
