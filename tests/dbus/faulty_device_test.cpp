#include "support/bus_test.h"

#include <deviceid/aggregator.h>
#include <deviceid/service_discoverer.h>

#include <gmock/gmock.h>

#include <csignal>
#include <future>
#include <memory>
#include <string>
#include <tuple>
#include <vector>

namespace
{

using namespace Tolvek::Orvan::DeviceId;
using testing::ElementsAre;
using testing::HasSubstr;
using Tests::kBusType;
using Tests::kInterface;
using Tests::residentMiB;

const std::string kFaulty = "com.tolvek.orvan.deviceid.faulty";
const std::string kOther = "com.tolvek.orvan.deviceid.other#b";

/// A provider with a device for each fault, and one that has done nothing wrong.
class FaultyDevice : public Tests::BusTest
{
protected:
    static std::unique_ptr<Tests::Process> faultyProvider()
    {
        auto process = std::make_unique<Tests::Process>(std::vector<std::string>{FAULTY_PROVIDER, "faulty"});
        process->waitUntilReady();
        return process;
    }

    /// The result of a read by another thread; the device is being read when this returns.
    std::future<std::shared_ptr<Data>> readWaiting()
    {
        auto result = std::async(std::launch::async, [this] { return client_.deviceId(kFaulty + "#waits"); });
        EXPECT_EQ(process_->readLine(), "waiting");
        return result;
    }

    std::string read(const std::string& id) { return client_.deviceId(id)->xml; }

    std::unique_ptr<Tests::Process> process_ = faultyProvider();
    std::unique_ptr<Tests::Process> other_ = provider("other", {"b=<b/>"});
    Aggregator client_{std::make_shared<DbusDiscoverer>(kBusType)};
    std::unique_ptr<sdbus::IConnection> connection_ = sdbus::createSessionBusConnection();
    std::unique_ptr<sdbus::IProxy> proxy_ = rawProvider(*connection_, "faulty");
    /// What the provider may have in RAM at the end.
    long bound_ = residentMiB(process_->pid()) + (Tests::kKeepsMemory ? 512 : 20);
};

TEST_F(FaultyDevice, costsNobodyElseAnythingAndNoMemory)
{
    struct Case
    {
        std::string id;
        int read;
        int write;
    };
    const std::vector<Case> cases{
        {"throws", 2, 2}, {"throws-int", 3, 3}, {"memory", 2, 2}, {"calls-back", 2, 2}, {"huge", 3, 0}};
    constexpr int kRounds = 10; // a leak would be a gigabyte
    for (int i = 0; i < kRounds; ++i)
    {
        for (const auto& each : cases)
        {
            EXPECT_EQ(client_.deviceId(kFaulty + "#" + each.id)->status, each.read) << each.id;
            EXPECT_EQ(client_.setDeviceId(kFaulty + "#" + each.id, "<x/>"), each.write) << each.id;
        }
        EXPECT_EQ(read(kFaulty + "#good"), "<good/>");
        EXPECT_EQ(read(kOther), "<b/>");
    }
    EXPECT_LT(residentMiB(process_->pid()), bound_);
}

TEST_F(FaultyDevice, thatIsSlowHoldsUpNoOtherProviderAndSurvivesItsCaller)
{
    proxy_->callMethodAsync("deviceId")
        .onInterface(kInterface)
        .withArguments("waits")
        .uponReplyInvoke([](const sdbus::Error*, std::int32_t, const std::string&, bool) {});
    proxy_->callMethodAsync("setDeviceId")
        .onInterface(kInterface)
        .withArguments("waits", "<x/>")
        .uponReplyInvoke([](const sdbus::Error*, std::int32_t) {});
    EXPECT_EQ(process_->readLine(), "waiting");
    EXPECT_THAT(client_.deviceList(), ElementsAre(kOther));
    EXPECT_TRUE(log().contains(2, "Passing over " + kFaulty + ": it does not answer"));

    process_->signal(SIGUSR1);
    EXPECT_EQ(process_->readLine(), "waiting") << "the write";
    EXPECT_EQ(read(kOther), "<b/>");
    proxy_.reset();
    connection_.reset();
    process_->signal(SIGUSR1);
    EXPECT_EQ(read(kFaulty + "#good"), "<good/>");
}

TEST_F(FaultyDevice, thatTakesItsProviderAlongIsAnErrorAtOnce)
{
    auto reader = readWaiting();
    process_->signal(SIGKILL);
    const auto data = reader.get();
    EXPECT_EQ(data->status, 3);
    EXPECT_THAT(data->xml, HasSubstr("disconnected")) << "that was the time-out of the call";
    EXPECT_THAT(client_.deviceList(), ElementsAre(kOther));
}

TEST_F(FaultyDevice, thatIsStillReadWhenTheBusEndsIsAnErrorAtOnceAndItsProviderLivesOn)
{
    auto reader = readWaiting();
    bus().kill();
    const auto data = reader.get();
    EXPECT_EQ(data->status, 3);
    EXPECT_THAT(data->xml, HasSubstr("reset")) << "that was the time-out of the call";
    process_->signal(SIGUSR1);
    EXPECT_EQ(process_->readLine(), "bus lost");
    process_->signal(SIGTERM);
    EXPECT_EQ(process_->wait(), 128 + SIGTERM) << "it had ended before";
}

TEST_F(FaultyDevice, isReadBesideAClientThatTakesNoAnswers)
{
    const Tests::Process flood{{FAULTY_CLIENT, kFaulty, "flood"}};
    flood.waitUntilReady();
    constexpr int kReads = 20;
    for (int i = 0; i < kReads; ++i)
    {
        std::tuple<std::int32_t, std::string, bool> result;
        proxy_->callMethod("deviceId").onInterface(kInterface).withArguments("good").storeResultsTo(result);
        EXPECT_EQ(std::get<1>(result), "<good/>");
        EXPECT_EQ(read(kOther), "<b/>");
    }
    EXPECT_LT(residentMiB(process_->pid()), bound_);
}

} // namespace
