#include <deviceid/contribution_manager.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <future>
#include <stdexcept>
#include <vector>

namespace
{

using namespace testing;
using namespace Tolvek::Orvan::DeviceId;

const auto discard = [](const std::string&) {};

constexpr int threads = 4;

/// Runs `work(number)` on several threads that start together, and returns what each of them returned.
template <typename Work>
auto together(Work work)
{
    std::promise<void> start;
    const std::shared_future<void> started = start.get_future().share();
    std::vector<std::future<decltype(work(0))>> running;
    running.reserve(threads);
    for (int number = 0; number < threads; ++number)
        running.push_back(std::async(std::launch::async,
                                     [work, number, started]
                                     {
                                         started.wait();
                                         return work(number);
                                     }));
    start.set_value();
    std::vector<decltype(work(0))> results;
    results.reserve(threads);
    for (auto& result : running)
        results.push_back(result.get());
    return results;
}

TEST(RegistryThreads, seeOneInstanceEvenWhenTheyAskForItFirst)
{
    const auto instances = together([](int) { return ContributionManager::instance(); });
    EXPECT_THAT(instances, Each(ContributionManager::instance()));
}

TEST(RegistryThreads, neverRunTwoDeviceFunctionsAtOnce)
{
    constexpr int rounds = 200;
    // Plain variables: only the registry's lock keeps the threads from overwriting each other's counts.
    int reads = 0;
    std::string stored;
    const auto work = [&](int number)
    {
        const auto registry = ContributionManager::instance();
        const std::string id = "device " + std::to_string(number);
        bool good = true;
        for (int round = 0; round < rounds; ++round)
        {
            const auto token = registry->addDeviceId(
                false, id, [&] { return std::to_string(++reads); }, [&](std::string xml) { stored = std::move(xml); });
            good = good && registry->deviceId(id)->status == 0 && registry->setDeviceId(id, id) == 0;
            good = good && !registry->deviceList().empty();
        }
        return good;
    };

    EXPECT_THAT(together(work), Each(true));
    EXPECT_EQ(reads, threads * rounds);
    EXPECT_THAT(stored, StartsWith("device "));
    EXPECT_THAT(ContributionManager::instance()->deviceList(), IsEmpty());
}

TEST(RegistryThreads, onlyOneOfThemGetsTheMainRole)
{
    const auto claim = [](int number) -> std::shared_ptr<TokenIfc>
    {
        try
        {
            return ContributionManager::instance()->addDeviceId(
                true, std::to_string(number), [] { return ""; }, discard);
        }
        catch (const std::invalid_argument&)
        {
            return nullptr;
        }
    };
    const auto tokens = together(claim);
    EXPECT_THAT(tokens, Contains(NotNull()).Times(1));
    EXPECT_EQ(ContributionManager::instance()->deviceList().size(), 1U);
}

TEST(RegistryLock, aDeviceFunctionThatCallsBackFailsInsteadOfWaitingForItself)
{
    const auto registry = ContributionManager::instance();
    auto other = registry->addDeviceId(
        false, "other", [] { return "<other/>"; }, discard);
    const auto lists = registry->addDeviceId(
        false, "lists", [&] { return registry->deviceList().front(); }, discard);
    const auto reads = registry->addDeviceId(
        false, "reads", [&] { return registry->deviceId("other")->xml; }, discard);
    const auto drops = registry->addDeviceId(
        false, "drops",
        [&other]
        {
            other.reset();
            return "<drops/>";
        },
        discard);

    EXPECT_EQ(registry->deviceId("lists")->status, 2);
    EXPECT_EQ(registry->deviceId("reads")->status, 2);
    ContributionManager second;
    const auto detour = second.addDeviceId(
        false, "detour", [&] { return registry->deviceId("other")->xml; }, discard);
    const auto throughIt = registry->addDeviceId(
        false, "through", [&] { return std::to_string(second.deviceId("detour")->status); }, discard);
    EXPECT_EQ(registry->deviceId("through")->xml, "2") << "by way of another registry";
    EXPECT_EQ(registry->deviceId("drops")->status, 0);
    EXPECT_EQ(registry->deviceId("other")->xml, "<other/>") << "a device stays when its token could not take it out";
    const auto notOfRegistry = std::make_shared<Contribution>(
        false, "other", [] { return ""; }, discard);
    registry->remove(notOfRegistry);
    EXPECT_EQ(registry->deviceId("other")->status, 1);
}

} // namespace
