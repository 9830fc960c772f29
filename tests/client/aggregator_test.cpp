#include <log_capture.h>
#include "fake_services.h"

#include <deviceid/aggregator.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <stdexcept>

namespace
{

using testing::ElementsAre;
using testing::IsEmpty;
using testing::ThrowsMessage;
using Tests::FakeDiscoverer;
using Tests::FakeService;
using Tests::Line;
using Tests::LogCapture;
using Tolvek::Orvan::DeviceId::Aggregator;
using Tolvek::Orvan::DeviceId::Data;
using Tolvek::Orvan::Log::Severity;

const std::string loggerName{"Tolvek::Orvan::DeviceId::Aggregator"};

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
        const auto data = aggregator_.deviceId(id);
        EXPECT_EQ(data->status, 1);
        EXPECT_EQ(data->xml, text);
        EXPECT_FALSE(data->isMain);
        EXPECT_EQ(aggregator_.setDeviceId(id, "<%n>"), 1);
        const Line reason{1, loggerName, text};
        EXPECT_THAT(log.lines(),
                    ElementsAre(reason, reason,
                                Line{1, loggerName,
                                     "Error while setting deviceid id=" + id + " to '<%n>'. Error was: " + text}));
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
    EXPECT_THAT(
        log.lines(),
        ElementsAre(Line{5, loggerName, "+deviceList()"}, Line{5, loggerName, "Found DeviceID service with name z"},
                    Line{5, loggerName, "Found deviceid b"}, Line{5, loggerName, "Found deviceid "},
                    Line{5, loggerName, "Found DeviceID service with name a"},
                    Line{5, loggerName, "Found deviceid x#%s"},
                    Line{5, loggerName, "Found DeviceID service with name z"}, Line{5, loggerName, "Found deviceid b"},
                    Line{5, loggerName, "-deviceList(): found 4 devices"}));
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
    const auto good = aggregator().deviceId("srv#good");
    EXPECT_EQ(good->status, 0);
    EXPECT_EQ(good->xml, "<x/>");
    EXPECT_TRUE(good->isMain);
    const auto bad = aggregator().deviceId("srv#bad");
    EXPECT_EQ(bad->status, -5);
    EXPECT_EQ(bad->xml, "text");
    EXPECT_TRUE(bad->isMain);
    EXPECT_EQ(aggregator().setDeviceId("srv#good", "<y/>"), 42);
    EXPECT_THAT(log.lines(), ElementsAre(Line{5, loggerName, "deviceId(id='srv#good')"},
                                         Line{5, loggerName, "deviceId(id='srv#bad')"},
                                         Line{5, loggerName, "setDeviceId(id = 'srv#good', xmlData='<y/>')"}));
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
    EXPECT_EQ(aggregator().deviceId("srv#x")->status, 1);
    EXPECT_EQ(aggregator().deviceId("srv#x")->xml, "gone");
    EXPECT_EQ(aggregator().setDeviceId("srv#x", "<x/>"), 1);

    srv.fault = [] { throw 1; };
    EXPECT_EQ(aggregator().deviceId("srv#x")->status, 3);
    EXPECT_EQ(aggregator().setDeviceId("srv#x", "<x/>"), 3);
    EXPECT_THAT(log.lines(),
                ElementsAre(Line{1, loggerName, "Error while setting deviceid id=srv#x to '<x/>'. Error was: gone"},
                            Line{1, loggerName, "Unknown error thrown by deviceId(id=srv#x)"},
                            Line{1, loggerName, "Unknown error while setting deviceid id=srv#x to '<x/>'"}));
}

} // namespace
