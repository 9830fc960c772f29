#include "fake_services.h"
#include "support/log_capture.h"

#include <deviceid/aggregator.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <stdexcept>

namespace
{

using namespace testing;
using namespace Tests;
using namespace Tolvek::Orvan::DeviceId;
using Tolvek::Orvan::Log::Severity;

Line line(int severity, const std::string& text)
{
    return {severity, "Tolvek::Orvan::DeviceId::Aggregator", text};
}

class AggregatorTest : public testing::Test
{
protected:
    FakeService& find(const std::string& name, FakeService::Devices devices = {})
    {
        discoverer_->found.push_back(std::make_shared<FakeService>(std::move(devices), name));
        return *discoverer_->found.back();
    }

    int discoveries() const { return discoverer_->discoveries; }
    Aggregator& aggregator() { return aggregator_; }

    void expectFailure(const std::string& id, const std::string& text)
    {
        const LogCapture log{Severity::Error};
        EXPECT_THAT(aggregator_.deviceId(id), Pointee(FieldsAre(1, text, false)));
        EXPECT_EQ(aggregator_.setDeviceId(id, "<%n>"), 1);
        const Line reason = line(1, text);
        EXPECT_THAT(log.lines(),
                    ElementsAre(reason, reason,
                                line(1, "Error while setting deviceid id=" + id + " to '<%n>'. Error was: " + text)));
    }

private:
    std::shared_ptr<FakeDiscoverer> discoverer_ = std::make_shared<FakeDiscoverer>();
    Aggregator aggregator_{discoverer_};
};

TEST_F(AggregatorTest, listsEveryDeviceUnderItsServiceInTheOrderOfDiscovery)
{
    find("z", {{"b", {}}, {"", {}}});
    find("a", {{"x#%s", {}}});
    find("z", {{"b", {}}});
    const LogCapture log;
    EXPECT_THAT(aggregator().deviceList(), ElementsAre("z#b", "z#", "a#x#%s", "z#b"));
    EXPECT_THAT(log.lines(), ElementsAre(line(5, "+deviceList()"), line(5, "Found DeviceID service with name z"),
                                         line(5, "Found deviceid b"), line(5, "Found deviceid "),
                                         line(5, "Found DeviceID service with name a"), line(5, "Found deviceid x#%s"),
                                         line(5, "Found DeviceID service with name z"), line(5, "Found deviceid b"),
                                         line(5, "-deviceList(): found 4 devices")));
    EXPECT_EQ(discoveries(), 1);
}

TEST_F(AggregatorTest, splitsIdsAtTheFirstDelimiterAndAsksTheFirstServiceOfThatExactName)
{
    auto& longer = find("srv1");
    auto& srv = find("srv");
    auto& namesake = find("srv", {{"x", {0, "wrong", true}}});
    auto& nameless = find("");
    auto& ownName = find(aggregator().name());
    for (const auto* id : {"srv#a#b", "srv#", "srv#x", "#dev", "dbus-all#x"})
        aggregator().deviceId(id);
    aggregator().setDeviceId("srv#a b", "<x/>");

    EXPECT_THAT(srv.calls, ElementsAre("read a#b", "read ", "read x", "write a b <x/>"));
    EXPECT_THAT(nameless.calls, ElementsAre("read dev"));
    EXPECT_THAT(ownName.calls, ElementsAre("read x"));
    EXPECT_THAT(longer.calls, IsEmpty());
    EXPECT_THAT(namesake.calls, IsEmpty());
    EXPECT_EQ(discoveries(), 6) << "services are discovered anew for every call";
}

TEST_F(AggregatorTest, passesTheAnswersOfAServiceOnUnchanged)
{
    auto& srv = find("srv", {{"good", {0, "<x/>", true}}, {"bad", {-5, "text", true}}});
    srv.writeStatus = 42;
    const LogCapture log;
    EXPECT_THAT(aggregator().deviceId("srv#good"), Pointee(FieldsAre(0, "<x/>", true)));
    EXPECT_THAT(aggregator().deviceId("srv#bad"), Pointee(FieldsAre(-5, "text", true)));
    EXPECT_EQ(aggregator().setDeviceId("srv#good", "<y/>"), 42);
    EXPECT_THAT(log.lines(), ElementsAre(line(5, "deviceId(id='srv#good')"), line(5, "deviceId(id='srv#bad')"),
                                         line(5, "setDeviceId(id = 'srv#good', xmlData='<y/>')")));
}

TEST_F(AggregatorTest, refusesMalformedIdsWithoutADiscovery)
{
    expectFailure("", "Invalid deviceId identifier: empty string");
    expectFailure("50%s", "DeviceId identification string (50%s) does not contain delimiter (#)");
    EXPECT_EQ(discoveries(), 0);
    EXPECT_THAT([&] { aggregator().extractDeviceName(""); },
                ThrowsMessage<std::runtime_error>("DeviceId identification string () does not contain delimiter (#)"));
}

TEST_F(AggregatorTest, namesTheIdThatNoServiceOwns)
{
    expectFailure("srv#%n", "No DeviceId service found for id 'srv#%n'");
    find("Srv");
    expectFailure("srv#x", "No DeviceId service found for id 'srv#x'");
}

TEST_F(AggregatorTest, turnsWhatAServiceThrowsIntoAStatusButLetsAListFail)
{
    find("good", {{"x", {}}});
    auto& srv = find("srv");
    const LogCapture log{Severity::Error};

    srv.fault = [] { throw std::logic_error("gone"); };
    EXPECT_THAT([&] { aggregator().deviceList(); }, ThrowsMessage<std::logic_error>("gone"));
    EXPECT_THAT(aggregator().deviceId("srv#x"), Pointee(FieldsAre(1, "gone", false)));
    EXPECT_EQ(aggregator().setDeviceId("srv#x", "<x/>"), 1);

    srv.fault = [] { throw 1; };
    EXPECT_THAT(aggregator().deviceId("srv#x"), Pointee(FieldsAre(3, "", false)));
    EXPECT_EQ(aggregator().setDeviceId("srv#x", "<x/>"), 3);
    EXPECT_THAT(log.lines(), ElementsAre(line(1, "Error while setting deviceid id=srv#x to '<x/>'. Error was: gone"),
                                         line(1, "Unknown error thrown by deviceId(id=srv#x)"),
                                         line(1, "Unknown error while setting deviceid id=srv#x to '<x/>'")));
}

} // namespace
