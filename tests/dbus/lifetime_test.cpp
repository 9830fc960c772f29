#include "support/bus_test.h"

#include <deviceid/client.h>
#include <deviceid/contribution_manager.h>
#include <deviceid/service_factory.h>

#include <gmock/gmock.h>

#include <atomic>
#include <filesystem>
#include <future>
#include <iterator>
#include <memory>
#include <optional>
#include <string>
#include <thread>
#include <vector>

namespace
{

using namespace Tolvek::Orvan::DeviceId;
using Tests::BusTest;
using Tests::kBusType;
using Tests::kInterface;

std::unique_ptr<TokenIfc> addDevice(const ServiceFactory& factory, const std::string& id, const ReadFunction& read)
{
    return factory.deviceIdServiceContributor()->addDeviceId(false, id, read, [](const std::string&) {});
}

class Lifetime : public BusTest
{
protected:
    static std::string readRaw(const std::string& service, const std::string& id)
    {
        const auto connection = sdbus::createSessionBusConnection();
        std::tuple<std::int32_t, std::string, bool> result;
        rawProvider(*connection, service)
            ->callMethod("deviceId")
            .onInterface(kInterface)
            .withArguments(id)
            .storeResultsTo(result);
        return std::get<1>(result);
    }

    static std::ptrdiff_t entriesOf(const char* folder)
    {
        return std::distance(std::filesystem::directory_iterator{folder}, {});
    }
};

TEST_F(Lifetime, theRegistryOutlivesItsFactory)
{
    std::optional<ServiceFactory> factory{std::in_place, "probe", kBusType};
    const auto token = addDevice(*factory, "a", [] { return "<a/>"; });
    EXPECT_EQ(readRaw("probe", "a"), "<a/>");
    factory.reset();
    EXPECT_THROW(readRaw("probe", "a"), sdbus::Error);
    EXPECT_EQ(ContributionManager::instance()->deviceId("a")->xml, "<a/>");

    const ServiceFactory again{"probe", kBusType};
    EXPECT_EQ(readRaw("probe", "a"), "<a/>");
}

TEST_F(Lifetime, aFactoryThatEndsWaitsForTheRunningHandler)
{
    std::optional<ServiceFactory> factory{std::in_place, "probe", kBusType};
    std::promise<void> entered;
    std::promise<void> released;
    std::atomic<bool> left{false};
    const auto token = addDevice(*factory, "slow",
                                 [&]
                                 {
                                     entered.set_value();
                                     released.get_future().wait();
                                     left = true;
                                     return "<slow/>";
                                 });
    auto reader = std::async(std::launch::async, [] { return readRaw("probe", "slow"); });
    entered.get_future().wait();
    auto ending = std::async(std::launch::async, [&] { factory.reset(); });
    released.set_value();
    ending.get();
    EXPECT_TRUE(left);
    EXPECT_EQ(reader.get(), "<slow/>") << "the reply of the last handler is still sent";
}

TEST_F(Lifetime, aHandlerMayDropTheLastReferenceToItsOwnFactory)
{
    auto factory = std::make_unique<ServiceFactory>("probe", kBusType);
    const auto token = addDevice(*factory, "suicide",
                                 [&factory]
                                 {
                                     factory.reset();
                                     return "<last/>";
                                 });
    EXPECT_EQ(readRaw("probe", "suicide"), "<last/>");
    const ServiceFactory other{"other", kBusType};
    EXPECT_EQ(std::get<0>(std::make_tuple(readRaw("other", "nothing"))), "");
}

TEST_F(Lifetime, clientsThatSawTheNameGetAnAnswerHoweverEarlyTheyAsk)
{
    const auto connection = sdbus::createSessionBusConnection();
    const auto proxy = rawProvider(*connection, "probe");
    std::atomic<bool> done{false};
    std::atomic<int> unknownObjects{0};
    std::thread reader{[&]
                       {
                           while (!done)
                           {
                               try
                               {
                                   proxy->callMethod("deviceList").onInterface(kInterface);
                               }
                               catch (const sdbus::Error& error)
                               {
                                   if (error.getName() == "org.freedesktop.DBus.Error.UnknownObject" ||
                                       error.getName() == "org.freedesktop.DBus.Error.UnknownMethod")
                                       ++unknownObjects;
                               }
                           }
                       }};
    constexpr int kRounds = 50;
    for (int i = 0; i < kRounds; ++i)
    {
        const ServiceFactory factory{"probe", kBusType};
        const auto ready = sdbus::createSessionBusConnection();
        EXPECT_NO_THROW(rawProvider(*ready, "probe")->callMethod("deviceList").onInterface(kInterface));
    }
    done = true;
    reader.join();
    // An object that leaves the bus before its name does may be missed; one that comes never.
    EXPECT_LE(unknownObjects, kRounds);
}

TEST_F(Lifetime, factoriesComeAndGoUnderFire)
{
    ServiceFactory{"fire", kBusType}; // whatever stays open for good from the first use on is no leak
    const auto descriptors = entriesOf("/proc/self/fd");
    const auto threads = entriesOf("/proc/self/task");
    std::atomic<bool> done{false};
    std::atomic<int> answers{0};
    std::vector<std::thread> clients;
    constexpr int kClients = 4;
    for (int i = 0; i < kClients; ++i)
    {
        clients.emplace_back(
            [&]
            {
                const auto connection = sdbus::createSessionBusConnection();
                const auto proxy = rawProvider(*connection, "fire");
                while (!done)
                {
                    try
                    {
                        proxy->callMethod("deviceList").onInterface(kInterface);
                        ++answers;
                    }
                    catch (const sdbus::Error&) // the provider is between two lives
                    {
                    }
                }
            });
    }
    constexpr int kRounds = 100;
    for (int i = 0; i < kRounds; ++i)
    {
        const int before = answers;
        const ServiceFactory factory{"fire", kBusType};
        const auto token = addDevice(factory, "a", [] { return "<a/>"; });
        while (answers < before + kClients)
            std::this_thread::yield();
    }
    done = true;
    for (auto& client : clients)
        client.join();
    EXPECT_EQ(entriesOf("/proc/self/fd"), descriptors);
    EXPECT_EQ(entriesOf("/proc/self/task"), threads);
}

} // namespace
