#include "daemon_fixture.h"

#include <atomic>
#include <csignal>
#include <cstdlib>
#include <optional>
#include <stdexcept>
#include <thread>

#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

namespace
{

using testing::ElementsAre;
using testing::HasSubstr;
using testing::MatchesRegex;
using testing::StartsWith;

/// What a service manager would be told.
class NotifySocket
{
public:
    explicit NotifySocket(const std::string& path)
        : fd_{socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0)}
    {
        sockaddr_un address{};
        address.sun_family = AF_UNIX;
        path.copy(address.sun_path, sizeof address.sun_path - 1);
        if (bind(fd_, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0) // NOLINT(*-reinterpret-cast)
            throw std::runtime_error{"Cannot make " + path};
        setenv("NOTIFY_SOCKET", path.c_str(), 1);
    }
    ~NotifySocket()
    {
        unsetenv("NOTIFY_SOCKET");
        close(fd_);
    }
    NotifySocket(const NotifySocket&) = delete;
    NotifySocket(NotifySocket&&) = delete;
    NotifySocket& operator=(const NotifySocket&) = delete;
    NotifySocket& operator=(NotifySocket&&) = delete;

    [[nodiscard]] std::string next() const
    {
        std::string text(4096, '\0');
        const ssize_t size = recv(fd_, text.data(), text.size(), 0);
        text.resize(size < 0 ? 0 : static_cast<std::size_t>(size));
        return text;
    }

private:
    int fd_;
};

class ProviderReload : public Tests::ProviderDaemonTest
{
protected:
    void SetUp() override
    {
        make("unit", "VEL/T;S=1\n");
        make("other", "VEL/T;S=2\n");
    }

    static std::string device(const std::string& id, const std::string& file, const std::string& more = "")
    {
        return "[[device]]\nid = '" + id + "'\npath = '{}/" + file + "'\nform = 'vel'\n" + more + '\n';
    }
};

TEST_F(ProviderReload, theServiceManagerIsToldEachStep)
{
    const NotifySocket manager{path("notify")};
    const auto provider = start(configure(device("unit", "unit")));
    const std::string name = "com.tolvek.orvan.deviceid.gateway on the session bus";
    EXPECT_EQ(manager.next(), "READY=1\nSTATUS=Publishing 1 device as " + name);

    const auto reload = [&]
    {
        provider->signal(SIGHUP);
        EXPECT_THAT(manager.next(), MatchesRegex("RELOADING=1\nMONOTONIC_USEC=[0-9]+\nSTATUS=[A-Za-z ]+"));
        return manager.next();
    };
    configure(device("unit", "unit", "main = true") + device("new", "other"));
    EXPECT_EQ(reload(), "READY=1\nSTATUS=Publishing 2 devices as " + name);
    const std::string prefix = kIdPrefix;
    EXPECT_THAT(client().deviceList(), ElementsAre(prefix + "unit", prefix + "new"));

    const std::string kept = "; still publishing 2 devices as " + name;
    configure(device("unit", "unit", "mian = true"));
    EXPECT_THAT(reload(), StartsWith("READY=1\nSTATUS=Not reloaded, " + path("gateway.toml") + ":7: device[0].mian: "));
    EXPECT_THAT(contentOf("errors"), HasSubstr("gateway.toml:7: device[0].mian: there is no such key"));
    configure("service-name = 'other'\n" + device("unit", "unit"));
    EXPECT_EQ(reload(), "READY=1\nSTATUS=Not reloaded, " + path("gateway.toml") +
                            ": service-name: takes effect only when the program is started" + kept);
    std::filesystem::remove(path("gateway.toml"));
    EXPECT_THAT(reload(), HasSubstr("cannot open"));
    EXPECT_THAT(client().deviceList(), ElementsAre(prefix + "unit", prefix + "new"));

    configure(device("new", "unit", "main = true") + device("last", "other"));
    EXPECT_EQ(reload(), "READY=1\nSTATUS=Publishing 2 devices as " + name);
    EXPECT_THAT(client().deviceList(), ElementsAre(prefix + "new", prefix + "last"));
    EXPECT_EQ(client().mainAsVel(), "VEL/T;S=1");

    provider->signal(SIGTERM);
    EXPECT_EQ(manager.next(), "STOPPING=1\nSTATUS=Stopping");
    EXPECT_EQ(provider->wait(), 0) << contentOf("errors");
}

TEST_F(ProviderReload, aClientOfAnUnchangedDeviceNoticesNothingAndSignalsEndTheProgramMeanwhile)
{
    for (const int endSignal : {SIGTERM, SIGINT})
    {
        const NotifySocket manager{path("notify" + std::to_string(endSignal))};
        configure(device("unit", "unit"));
        const auto provider = start(path("gateway.toml"));
        EXPECT_THAT(manager.next(), StartsWith("READY=1"));

        std::atomic<int> reads = 0;
        std::atomic<int> failures = 0;
        std::thread hammer{[&]
                           {
                               const auto connection = sdbus::createSessionBusConnection();
                               const auto raw = rawProvider(*connection, "gateway");
                               try
                               {
                                   for (;; ++reads)
                                       failures += statusOf(*raw, "unit") == 0 ? 0 : 1;
                               }
                               catch (const sdbus::Error&) // NOLINT(bugprone-empty-catch): the program has ended
                               {
                               }
                           }};
        for (int reload = 0; reload < 20; ++reload)
        {
            const int before = reads;
            configure(device("unit", "unit") + (reload % 2 == 0 ? device("other", "other", "main = true") : ""));
            provider->signal(SIGHUP);
            EXPECT_THAT(manager.next(), StartsWith("RELOADING=1"));
            EXPECT_THAT(manager.next(), HasSubstr(reload % 2 == 0 ? "2 devices" : "1 device "));
            while (reads == before)
                std::this_thread::yield();
        }
        EXPECT_EQ(failures, 0);
        provider->signal(endSignal);
        EXPECT_EQ(provider->wait(), 0) << contentOf("errors");
        hammer.join();
    }
}

} // namespace
