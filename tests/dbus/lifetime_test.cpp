#include "support/bus_test.h"

#include <deviceid/client.h>
#include <deviceid/contribution_manager.h>
#include <deviceid/service_factory.h>

#include <logger/configuration.h>

#include <gmock/gmock.h>

#include <algorithm>
#include <atomic>
#include <filesystem>
#include <future>
#include <iterator>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include <sys/stat.h>
#include <unistd.h>

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
    auto ending = std::async(std::launch::async,
                             [&]
                             {
                                 factory.reset();
                                 return left.load();
                             });
    while (!log().contains(3, "unregister service com.tolvek.orvan.deviceid.probe"))
        std::this_thread::yield();
    EXPECT_FALSE(left);
    released.set_value();
    EXPECT_TRUE(ending.get()) << "the factory was gone before its handler had finished";
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
    constexpr int kRounds = 100;
    for (int i = 0; i < kRounds; ++i)
    {
        std::promise<void> asking;
        auto firstAnswer = std::async(std::launch::async,
                                      [&asking]
                                      {
                                          const auto connection = sdbus::createSessionBusConnection();
                                          const auto proxy = rawProvider(*connection, "probe");
                                          asking.set_value();
                                          for (;;)
                                          {
                                              try
                                              {
                                                  proxy->callMethod("deviceList").onInterface(kInterface);
                                                  return std::string{"a list"};
                                              }
                                              catch (const sdbus::Error& error)
                                              {
                                                  if (error.getName() != "org.freedesktop.DBus.Error.ServiceUnknown")
                                                      return error.getName();
                                              }
                                          }
                                      });
        asking.get_future().wait();
        const ServiceFactory factory{"probe", kBusType};
        ASSERT_EQ(firstAnswer.get(), "a list");
    }
}

TEST_F(Lifetime, factoriesComeAndGoUnderFire)
{
    std::make_unique<ServiceFactory>("fire", kBusType).reset(); // what stays open from the first use on is no leak
    Tests::Process one{{FAULTY_CLIENT, "com.tolvek.orvan.deviceid.fire"}};
    Tests::Process other{{FAULTY_CLIENT, "com.tolvek.orvan.deviceid.fire"}};
    const auto descriptors = entriesOf("/proc/self/fd");
    const auto threads = entriesOf("/proc/self/task");
    std::atomic<bool> done{false};
    std::atomic<int> answers{0};
    constexpr int kClients = 4;
    std::vector<std::thread> clients;
    clients.reserve(kClients);
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
    constexpr int kRounds = 1000;
    long memory = 0;
    for (int i = 0; i < kRounds; ++i)
    {
        const int before = answers;
        const ServiceFactory factory{"fire", kBusType};
        const auto token = addDevice(factory, "a", [] { return "<a/>"; });
        while (answers < before + kClients)
            std::this_thread::yield();
        log().clear();
        if (i == kRounds / 10)
            memory = Tests::residentMiB(getpid());
    }
    EXPECT_LE(Tests::residentMiB(getpid()), memory + (Tests::kKeepsMemory ? 512 : 2));
    EXPECT_EQ(one.readLine() + other.readLine(), "answeredanswered");
    done = true;
    for (auto& client : clients)
        client.join();
    EXPECT_EQ(entriesOf("/proc/self/fd"), descriptors);
    while (entriesOf("/proc/self/task") > threads) // a joined thread stays listed for a moment; a leaked one for good
        std::this_thread::yield();
}

TEST_F(Lifetime, aBusThatEndsIsNoticedAndAnotherOneServesAsWell)
{
    std::optional<ServiceFactory> factory{std::in_place, "probe", kBusType};
    const auto token = addDevice(*factory, "a", [] { return "<a/>"; });
    const auto client = Client::make_client(kBusType);
    EXPECT_THAT(client->deviceList(), testing::ElementsAre("com.tolvek.orvan.deviceid.probe#a"));
    bus().kill();
    EXPECT_THROW(client->deviceList(), sdbus::Error);
    EXPECT_THROW(client->deviceId("a#b"), std::runtime_error);
    EXPECT_FALSE(client->setDeviceId("a#b", "<x/>"));
    while (!log().contains(1, "Connection to the bus lost"))
        std::this_thread::yield();
    factory.reset();

    const Tests::PrivateBus restarted;
    const ServiceFactory again{"probe", kBusType};
    EXPECT_EQ(client->deviceId("com.tolvek.orvan.deviceid.probe#a"), "<a/>");
}

TEST_F(Lifetime, aFactoryConfiguresLoggingOnlyIfNobodyElseHas)
{
    using Tolvek::Orvan::Log::Configuration;
    struct stat folder = {};
    if (stat("/tmp/deviceid", &folder) == 0 && folder.st_uid != 0 && folder.st_uid != geteuid())
        GTEST_SKIP() << "the folder of the log files belongs to another user";
    const auto name = "test_" + std::to_string(getpid());
    const std::filesystem::path all = "/tmp/deviceid/" + name + "_service.log";
    const std::filesystem::path errors = "/var/log/deviceid_" + name + "_service.nv.log";
    const auto removed = Tests::atEnd(
        [&]
        {
            std::error_code ignored;
            for (const auto& file : {all, errors, all.parent_path()}) // the folder only if it is empty
                std::filesystem::remove(file, ignored);
        });
    {
        const ServiceFactory factory{name, kBusType};
        EXPECT_EQ(Tests::contentOf(all), "");
    }

    Configuration::reset();
    const ServiceFactory factory{name, kBusType};
    EXPECT_TRUE(Configuration::isInitialized());
    const auto token = addDevice(factory, "broken", []() -> std::string { throw std::runtime_error{"no device"}; });
    readRaw(name, "broken");
    EXPECT_THAT(Tests::contentOf(all), testing::HasSubstr("+deviceId(id='broken')"));
    EXPECT_THAT(Tests::contentOf(all), testing::HasSubstr("Error was no device"));
    if (access("/var/log", W_OK) != 0)
        GTEST_SKIP() << "the second log file needs a user who may write to /var/log";
    EXPECT_THAT(Tests::contentOf(errors), testing::HasSubstr("Error was no device"));
    EXPECT_THAT(Tests::contentOf(errors), testing::Not(testing::HasSubstr("+deviceId")));
}

} // namespace
