#include "support/bus_test.h"

#include <deviceid/client.h>
#include <deviceid/info.h>
#include <deviceid/service_discoverer.h>
#include <deviceid/vel_conversion.h>

#include <gmock/gmock.h>

#include <stdexcept>
#include <string>
#include <vector>

namespace
{

using namespace Tolvek::Orvan::DeviceId;
using testing::ElementsAre;
using testing::IsEmpty;
using Tests::BusTest;
using Tests::kBusType;

constexpr const char* kVel = "VEL/T;U=Probe A;P=100200;S=0042;L=Plant 7;D=2021-03-05;E=2.10";
const std::string kName = "com.tolvek.orvan.deviceid.";

class EndToEnd : public BusTest
{
protected:
    std::shared_ptr<Client> client_ = Client::make_client(kBusType);
};

TEST_F(EndToEnd, devicesOfAllProvidersAreListedReadAndWritten)
{
    const auto second = provider("b", {"x=<x/>"});
    const auto first = provider("a", {"other#1=<other/>", "--vel", std::string{"*main="} + kVel});

    EXPECT_THAT(client_->deviceList(), ElementsAre(kName + "a#main", kName + "a#other#1", kName + "b#x"));
    EXPECT_EQ(client_->deviceId(kName + "b#x"), "<x/>");
    EXPECT_EQ(client_->deviceId(kName + "a#other#1"), "<other/>");
    EXPECT_EQ(client_->main(), velToDeviceIdXml(kVel));
    EXPECT_EQ(client_->mainAsVel(), kVel);
    EXPECT_EQ(client_->deviceIdAsVel(kName + "a#main"), kVel);
    EXPECT_EQ(Info::parse(client_->main()).serialNumber(), "0042");

    const std::string newVel = "VEL/T;S=43;U=a\\;b";
    EXPECT_TRUE(client_->setDeviceIdFromVel(kName + "a#main", newVel));
    EXPECT_EQ(client_->mainAsVel(), newVel);
    EXPECT_TRUE(client_->setDeviceId(kName + "b#x", "<y/>"));
    EXPECT_EQ(client_->deviceId(kName + "b#x"), "<y/>");

    EXPECT_FALSE(client_->setDeviceId(kName + "a#main", "not XML"));
    EXPECT_FALSE(client_->setDeviceId(kName + "a#nothing", "<x/>"));
    EXPECT_EQ(client_->mainAsVel(), newVel);
}

TEST_F(EndToEnd, failuresNameTheDeviceAndTheReason)
{
    const auto only = provider("a", {"--vel", "broken=not a VEL"});
    const auto message = [this](const std::string& id)
    {
        try
        {
            client_->deviceId(id);
        }
        catch (const std::runtime_error& error)
        {
            return std::string{error.what()};
        }
        return std::string{"no error"};
    };
    EXPECT_EQ(message(kName + "a#broken"), "Device identification for (" + kName + "a#broken) failed (File error)");
    EXPECT_EQ(message(kName + "a#none"), "Device identification for (" + kName + "a#none) failed (Id was not found.)");
    EXPECT_EQ(message(kName + "z#x"), "Device identification for (" + kName + "z#x) failed (Id was not found.)");
    EXPECT_THROW(client_->main(), std::runtime_error);
    EXPECT_TRUE(log().contains(2, "Device identification of (" + kName + "a#broken) is not valid (File error)"));
}

TEST_F(EndToEnd, providersThatComeAndGoAreSeenAtOnce)
{
    EXPECT_THAT(client_->deviceList(), IsEmpty());
    {
        const auto brief = provider("a", {"x=1"});
        EXPECT_THAT(client_->deviceList(), ElementsAre(kName + "a#x"));
    }
    EXPECT_THAT(client_->deviceList(), IsEmpty());
}

TEST_F(EndToEnd, aProviderThatFailsAfterDiscoveryIsADbusError)
{
    const auto healthy = provider("a", {"x=1"});
    const auto broken = faultyPeer(kName + "b", "failing-calls");
    EXPECT_THAT(client_->deviceList(), ElementsAre(kName + "a#x", kName + "b#"));
    EXPECT_THROW(client_->deviceId(kName + "b#x"), std::runtime_error);
    EXPECT_EQ(client_->deviceId(kName + "a#x"), "1");

    // One that is asked in vain takes the time-out of the D-Bus library, which this shortens.
    setenv("SYSTEMD_BUS_TIMEOUT", "200ms", 1);
    const auto mute = faultyPeer(kName + "c", "silent-calls");
    EXPECT_THAT(client_->deviceList(), ElementsAre(kName + "a#x", kName + "b#", kName + "c#"));
    EXPECT_THROW(client_->deviceId(kName + "c#x"), std::runtime_error);
    EXPECT_EQ(client_->deviceId(kName + "a#x"), "1");
    unsetenv("SYSTEMD_BUS_TIMEOUT");
}

TEST_F(EndToEnd, discoveryCountsEveryNameOnTheBusAndEveryProvider)
{
    const auto only = provider("a", {});
    DbusDiscoverer discoverer{kBusType};
    log().clear();
    const auto services = discoverer.services();
    ASSERT_EQ(services.size(), 1U);
    EXPECT_EQ(services.front()->name(), kName + "a");

    std::vector<std::string> texts;
    for (const auto& line : log().lines())
    {
        if (line.logger == "Tolvek::Orvan::DeviceId::DbusDiscoverer")
            texts.push_back(line.text);
    }
    // The bus itself, the provider's two names, and the connection that asks.
    EXPECT_THAT(texts, ElementsAre("Discovering d-bus services via DbusClient.",
                                   "Discovered (4) dbus services overall. Going on only with base name "
                                   "(com.tolvek.orvan.deviceid).",
                                   "Found (1) services with a base name of (com.tolvek.orvan.deviceid)."));
}

} // namespace
