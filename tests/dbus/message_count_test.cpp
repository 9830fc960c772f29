// How chatty the library is, counted on the bus itself: exact figures, free of noise. A change that makes discovery ask
// more than it must fails here.

#include "support/bus_test.h"

#include <deviceid/client.h>

#include <gmock/gmock.h>

#include <map>
#include <memory>
#include <string>
#include <vector>

namespace
{

using namespace Tolvek::Orvan::DeviceId;
using testing::ElementsAre;
using testing::Pair;
using Tests::BusTest;
using Tests::kBusType;

/// Watches the bus and counts method calls by their member.
class Monitor
{
public:
    explicit Monitor(const std::string& address)
        : process_{{"dbus-monitor", "--address", address, "--profile", "type='method_call'"}}
    {
        // A connection that becomes a monitor loses its name: from then on nothing escapes it.
        while (process_.readLine().find("NameLost") == std::string::npos)
        {
        }
    }

    /// The calls since the last count.
    std::map<std::string, int> count()
    {
        bool isOwned = false;
        bus_->callMethod(kMarker)
            .onInterface("org.freedesktop.DBus")
            .withArguments("org.freedesktop.DBus")
            .storeResultsTo(isOwned);
        std::map<std::string, int> calls;
        for (auto member = nextCall(); member != kMarker; member = nextCall())
            ++calls[member];
        return calls;
    }

private:
    static constexpr const char* kMarker = "NameHasOwner"; // called by nobody else here

    std::string nextCall()
    {
        for (;;)
        {
            // Type, time, serial, sender, destination, path, interface, member.
            const auto line = process_.readLine();
            if (line.rfind("mc\t", 0) == 0)
                return line.substr(line.rfind('\t') + 1);
        }
    }

    std::unique_ptr<sdbus::IConnection> connection_ = sdbus::createSessionBusConnection();
    std::unique_ptr<sdbus::IProxy> bus_ =
        sdbus::createProxy(*connection_, "org.freedesktop.DBus", "/org/freedesktop/DBus");
    Tests::Process process_;
};

class MessageCount : public BusTest
{
};

TEST_F(MessageCount, oneReadAsksEveryNameOnceAndItsOwnKindTwice)
{
    const auto first = provider("a", {"x=1"});
    const auto second = provider("b", {"y=1"});
    const auto client = Client::make_client(kBusType);
    const auto mute = sdbus::createSessionBusConnection();
    mute->requestName("org.example.One");
    mute->requestName("org.example.Two");
    mute->enterEventLoopAsync();
    Monitor monitor{bus().address()};

    client->deviceId("com.tolvek.orvan.deviceid.b#y");
    EXPECT_THAT(monitor.count(),
                ElementsAre(Pair("Hello", 1), Pair("Introspect", 6), Pair("ListNames", 1), Pair("deviceId", 1)));

    const auto describing = faultyPeer("org.example.Describing", "describes-at-once");
    const auto naming = faultyPeer("org.example.Naming", "slow", 0);
    monitor.count();
    client->deviceId("com.tolvek.orvan.deviceid.b#y");
    EXPECT_EQ(monitor.count()["Introspect"], 6 + 1 + 2) << "only who does not describe a child is asked about it";

    client->setDeviceId("com.tolvek.orvan.deviceid.b#y", "2");
    EXPECT_THAT(monitor.count(),
                ElementsAre(Pair("Hello", 1), Pair("Introspect", 9), Pair("ListNames", 1), Pair("setDeviceId", 1)));
}

TEST_F(MessageCount, theMainDeviceOfTwentyTakesTwentyOneDiscoveries)
{
    constexpr int kDevices = 20;
    std::vector<std::string> devices{"*main=<main/>"};
    for (int i = 1; i < kDevices; ++i)
        devices.push_back("d" + std::to_string(i) + "=1"); // NOLINT(performance-inefficient-vector-operation)
    const auto only = provider("a", devices);
    const auto client = Client::make_client(kBusType);
    Monitor monitor{bus().address()};

    EXPECT_EQ(client->main(), "<main/>");
    EXPECT_THAT(monitor.count(),
                ElementsAre(Pair("Hello", kDevices + 1), Pair("Introspect", 2 * (kDevices + 1)),
                            Pair("ListNames", kDevices + 1), Pair("deviceId", kDevices), Pair("deviceList", 1)));
}

} // namespace
