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
#include <thread>
#include <utility>
#include <vector>

#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

namespace
{

using Tolvek::Orvan::Utils::BusConnection::Dbus::BusType;
using Tolvek::Orvan::Utils::BusConnection::Dbus::Factory;

constexpr const char* kInterface = "com.tolvek.orvan.deviceid.interface";

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

    log_.clear();
    auto opening = std::async(std::launch::async, [] { return std::make_shared<Factory>(BusType::Session); });
    while (!log_.contains(5, "The bus takes no connection: "))
        std::this_thread::yield();
    connections_.pop_back();
    EXPECT_NE(opening.get()->uniqueName(), "");
}

TEST_F(FullBus, hidesNoProviderWhetherOthersAreLateOrSilent)
{
    // As many as may be open on one connection. Of the questions to that many names there are three times as many.
    constexpr auto* kTogether = "96";
    const Tests::Process late{{FAULTY_PEER, "com.tolvek.orvan.deviceid.late", "answers-together", kTogether, "144"}};
    late.waitUntilReady();
    const Tests::Process provider{{FAULTY_PEER, "com.tolvek.orvan.deviceid.honest", "slow", "0"}};
    provider.waitUntilReady();
    const auto factory = std::make_shared<Factory>(BusType::Session);
    const Tests::Process silent{{FAULTY_PEER, "org.example.Silent", "silent", "0", "150"}};
    silent.waitUntilReady();
    fill();

    EXPECT_EQ(factory->objectsImplementing(kInterface).count("com.tolvek.orvan.deviceid.honest"), 1U);
    EXPECT_TRUE(log_.contains(2, "No further connection to the bus: "));
    EXPECT_EQ(log_.count(2, "Passing over com.tolvek"), 0U) << "that would have answered when its turn came";
    EXPECT_TRUE(log_.contains(2, ": the bus has no connection left on which to ask it"));
}

TEST(TightBus, isAskedAgainWhatItRefused)
{
    setenv("DEVICEID_TEST_BUS", "tight", 1);
    const Tests::PrivateBus bus;
    const Tests::Process silent{{FAULTY_PEER, "org.example.Silent", "silent", "0", "60"}};
    silent.waitUntilReady();
    std::vector<std::unique_ptr<Tests::Process>> honest;
    for (const std::string name : {"org.example.A", "org.example.B", "org.example.C", "org.example.D"})
    {
        honest.push_back(std::make_unique<Tests::Process>(std::vector<std::string>{FAULTY_PEER, name, "slow", "0"}));
        honest.back()->waitUntilReady();
    }
    const Tests::LogCapture log;
    EXPECT_EQ(std::make_shared<Factory>(BusType::Session)->objectsImplementing(kInterface).size(), honest.size());
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
