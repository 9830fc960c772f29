#include "support/bus_test.h"

#include <deviceid/aggregator.h>
#include <deviceid/client.h>
#include <deviceid/service_discoverer.h>

#include <gmock/gmock.h>

#include <csignal>
#include <future>
#include <memory>
#include <stdexcept>
#include <string>
#include <tuple>

namespace
{

using namespace Tolvek::Orvan::DeviceId;
using testing::ElementsAre;
using testing::HasSubstr;
using Tests::kBusType;
using Tests::kInterface;
using Tests::residentMiB;

const std::string kFaulty = "com.tolvek.orvan.deviceid.faulty";

/// A provider with a device for each fault, and one that has done nothing wrong.
class FaultyDevice : public Tests::BusTest
{
protected:
    std::string read(const std::string& id) const { return client_->deviceId(kFaulty + "#" + id); }

    std::unique_ptr<Tests::Process> process_ = provider("faulty", {"--faulty"});
    std::unique_ptr<Tests::Process> other_ = provider("other", {"b=<b/>"});
    std::shared_ptr<Client> client_ = Client::make_client(kBusType);
    std::unique_ptr<sdbus::IConnection> connection_ = sdbus::createSessionBusConnection();
    std::unique_ptr<sdbus::IProxy> proxy_ = rawProvider(*connection_, "faulty");
    /// What the provider may have in RAM at the end.
    long bound_ = residentMiB(process_->pid()) + (Tests::kIsSanitized ? 512 : 20);
};

TEST_F(FaultyDevice, costsNobodyElseAnythingAndNoMemory)
{
    constexpr int kRounds = 10; // a leak would be a gigabyte
    for (int i = 0; i < kRounds; ++i)
    {
        for (const auto* id : {"throws", "memory", "calls-back", "huge"})
            EXPECT_THROW(read(id), std::runtime_error) << id;
        EXPECT_EQ(read("good"), "<good/>");
        EXPECT_EQ(client_->deviceId("com.tolvek.orvan.deviceid.other#b"), "<b/>");
    }
    EXPECT_LT(residentMiB(process_->pid()), bound_);
}

TEST_F(FaultyDevice, thatIsSlowHoldsUpNoOtherProviderAndSurvivesItsCaller)
{
    proxy_->callMethodAsync("deviceId")
        .onInterface(kInterface)
        .withArguments("waits")
        .uponReplyInvoke([](const sdbus::Error*, std::int32_t, const std::string&, bool) {});
    EXPECT_EQ(process_->readLine(), "waiting");
    EXPECT_THAT(client_->deviceList(), ElementsAre("com.tolvek.orvan.deviceid.other#b"));
    EXPECT_TRUE(log().contains(2, "Passing over " + kFaulty + ": it does not answer"));

    proxy_.reset();
    connection_.reset();
    process_->signal(SIGUSR1);
    EXPECT_EQ(read("good"), "<good/>");
}

TEST_F(FaultyDevice, thatTakesItsProviderAlongIsAnErrorAtOnce)
{
    auto reader =
        std::async(std::launch::async,
                   [] { return Aggregator{std::make_shared<DbusDiscoverer>(kBusType)}.deviceId(kFaulty + "#waits"); });
    EXPECT_EQ(process_->readLine(), "waiting");
    process_->signal(SIGKILL);
    const auto data = reader.get();
    EXPECT_EQ(data->status, 3);
    EXPECT_THAT(data->xml, HasSubstr("disconnected")) << "that was the time-out of the call";
    EXPECT_THAT(client_->deviceList(), ElementsAre("com.tolvek.orvan.deviceid.other#b"));
}

TEST_F(FaultyDevice, isReadAfterAClientThatTookNoAnswers)
{
    std::make_unique<Tests::Process>(std::vector<std::string>{FAULTY_CLIENT, kFaulty, "10000"})->waitUntilReady();
    std::tuple<std::int32_t, std::string, bool> result;
    proxy_->callMethod("deviceId").onInterface(kInterface).withArguments("good").storeResultsTo(result);
    EXPECT_EQ(std::get<1>(result), "<good/>");
    EXPECT_LT(residentMiB(process_->pid()), bound_);
}

} // namespace
