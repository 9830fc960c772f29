#include "support/bus_test.h"

#include "dbus/contribution_sdbus_client.h"
#include "dbus/contribution_sdbus_ifc.h"
#include "dbus/contribution_sdbus_service.h"

#include <busconnection/dbus/factory.h>
#include <deviceid/contribution_manager.h>

#include <gmock/gmock.h>

#include <algorithm>
#include <memory>
#include <string>
#include <typeindex>
#include <vector>

namespace
{

using namespace Tolvek::Orvan::DeviceId;
using testing::ElementsAre;
using testing::IsEmpty;
using Tests::BusTest;
using Tests::kBusType;
using Tests::kInterface;
using Tolvek::Orvan::Utils::BusConnection::BusObject;
using Tolvek::Orvan::Utils::BusConnection::FactoryBase;
using Tolvek::Orvan::Utils::BusConnection::FactoryIfc;
using Tolvek::Orvan::Utils::BusConnection::Dbus::Factory;

class Registration : public BusTest
{
protected:
    std::shared_ptr<void> serve(const std::shared_ptr<BusObject>& object) { return factory_->createService(object); }

    std::shared_ptr<ContributionSdbusIfc> registryObject()
    {
        return std::make_shared<ContributionSdbusIfc>("deviceid", manager_);
    }

    static ContributionSdbusClient client(const std::string& name)
    {
        return {std::make_shared<Factory>(kBusType), Tests::kObjectPath, name};
    }

    std::shared_ptr<ContributionManager> manager_ = std::make_shared<ContributionManager>();
    std::shared_ptr<Factory> factory_ = std::make_shared<Factory>("com.tolvek.orvan.deviceid.probe", kBusType);
};

TEST_F(Registration, bothLibrariesSeeTheSameRegistries)
{
    const std::type_index key{typeid(ContributionSdbusClientIfc)};
    const auto& seenHere = FactoryBase<Factory>::mRegisteredClients;
    ASSERT_EQ(seenHere.count(key), 1U);
    EXPECT_EQ(&seenHere.at(key), Factory::clientRegistration(key));
    EXPECT_EQ(seenHere.at(key).interfaceName, kInterface);

    class Late : public BusObject
    {
    public:
        Late(const std::shared_ptr<FactoryIfc>&, const std::string&, const std::string&) {}
        static std::string interfaceName() { return "org.example.Late"; }
    };
    EXPECT_FALSE((FactoryBase<Factory>::registerClientClass<ContributionSdbusClientIfc, Late>()));
    EXPECT_EQ(seenHere.at(key).interfaceName, kInterface) << "the first registration wins";
    EXPECT_EQ(Factory::clientRegistration(typeid(int)), nullptr);
}

TEST_F(Registration, onlyTheOwnKindOfObjectGetsAService)
{
    class Stranger : public BusObject
    {
    };
    EXPECT_THROW(serve(std::make_shared<Stranger>()), std::invalid_argument);
    EXPECT_THROW(serve(nullptr), std::invalid_argument);
    EXPECT_THROW(factory_->createAllClients<Stranger>(), std::invalid_argument);
    EXPECT_TRUE(log().contains(1, "Unknown interface for createClient()"));
    EXPECT_NE(serve(registryObject()), nullptr);
}

TEST_F(Registration, aServiceLogsItsComingAndGoing)
{
    log().clear();
    const auto object = registryObject();
    serve(object).reset();
    std::vector<std::string> texts;
    for (const auto& line : log().lines())
        texts.push_back(std::to_string(line.severity) + " " + line.text);
    EXPECT_THAT(texts, ElementsAre("5 Register adaptor, object path = /com/tolvek/orvan/deviceid",
                                   "3 register service com.tolvek.orvan.deviceid.probe",
                                   "3 unregister service com.tolvek.orvan.deviceid.probe"));
}

TEST_F(Registration, withoutANameTheUniqueNameStandsIn)
{
    const auto nameless = std::make_shared<Factory>(kBusType);
    const auto object = registryObject();
    const auto service = nameless->createService(object);
    EXPECT_TRUE(log().contains(2, "No bus name set for connection. Returning unique name"));
    EXPECT_TRUE(log().contains(3, "register service " + nameless->uniqueName()));
    EXPECT_THAT(client(nameless->uniqueName()).deviceList(), IsEmpty());
}

TEST_F(Registration, aServiceWhoseObjectIsGoneAnswersWithErrors)
{
    auto object = registryObject();
    const auto service = serve(object);
    auto proxy = client("com.tolvek.orvan.deviceid.probe");
    EXPECT_THAT(proxy.deviceList(), IsEmpty());

    object.reset();
    log().clear();
    EXPECT_THAT(proxy.deviceList(), ElementsAre(""));
    const std::string gone = "Failed to get object connected to com.tolvek.orvan.deviceid.interface";
    EXPECT_TRUE(log().contains(1, gone));
    EXPECT_TRUE(log().contains(1, "ContributionSdbusService::deviceList() throws " + gone));
    EXPECT_EQ(proxy.deviceId("x")->status, 3);
    EXPECT_EQ(proxy.setDeviceId("x", ""), 3);
}

TEST_F(Registration, anErrorWithAnImpossibleNameOrTextIsStillAReply)
{
    class Mute : public std::exception
    {
        [[nodiscard]] const char* what() const noexcept override { return nullptr; }
    };
    class Broken : public ServiceIfc
    {
        std::vector<std::string> deviceList() override { throw sdbus::Error{"", "no name"}; }
        std::shared_ptr<Data> deviceId(const std::string& id) const override
        {
            throw sdbus::Error{id, "odd \xff name"};
        }
        int setDeviceId(const std::string& /*id*/, const std::string& /*xml*/) override { throw Mute{}; }
        std::string name() const override { return {}; }
    };
    const auto object = std::make_shared<ContributionSdbusIfc>("deviceid", std::make_shared<Broken>());
    const auto service = serve(object);
    auto proxy = client("com.tolvek.orvan.deviceid.probe");
    EXPECT_THAT(proxy.deviceList(), ElementsAre(""));
    for (const auto* name : {"a", "a..b", "a.1", ".a.b", "a.b.", "a.b-c"})
        EXPECT_EQ(proxy.deviceId(name)->xml, "[org.freedesktop.DBus.Error.Failed] odd ? name") << name;
    EXPECT_EQ(proxy.deviceId("com.example.Error_1")->xml, "[com.example.Error_1] odd ? name");
    EXPECT_EQ(proxy.setDeviceId("a", "x"), 3);
}

TEST_F(Registration, whatCannotTravelIsNotSentInPart)
{
    const auto token = manager_->addDeviceId(
        false, "a", [] { return "<a/>"; }, [](const std::string&) { ADD_FAILURE() << "was written"; });
    const auto object = registryObject();
    const auto service = serve(object);
    auto proxy = client("com.tolvek.orvan.deviceid.probe");
    const std::string idWithNul{"a\0b", 3};
    const std::string xmlWithNul{"<x/>\0<y/>", 9};
    EXPECT_EQ(proxy.deviceId(idWithNul)->status, 3);
    EXPECT_EQ(proxy.setDeviceId(idWithNul, "<x/>"), 3);
    EXPECT_EQ(proxy.setDeviceId("a", xmlWithNul), 3);
    EXPECT_EQ(proxy.setDeviceId("a", "\xff"), 3);
    EXPECT_EQ(proxy.deviceId("a")->xml, "<a/>");
}

TEST_F(Registration, aProviderThatIsNotThereIsStatusThree)
{
    auto proxy = client("com.tolvek.orvan.deviceid.nobody");
    EXPECT_EQ(proxy.name(), "com.tolvek.orvan.deviceid.nobody");
    const auto data = proxy.deviceId("x");
    EXPECT_EQ(data->status, 3);
    EXPECT_FALSE(data->isMain);
    EXPECT_TRUE(log().contains(1, "DBus method deviceId call failed with (" + data->xml + ")"));
    EXPECT_THAT(proxy.deviceList(), ElementsAre(""));
    EXPECT_EQ(proxy.setDeviceId("x", ""), 3);
}

} // namespace
