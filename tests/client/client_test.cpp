#include "fake_services.h"
#include "support/log_capture.h"

#include <deviceid/client.h>
#include <deviceid/vel_conversion.h>

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
    return {severity, "Tolvek::Orvan::DeviceId::Client", text};
}

const std::string vel{"VEL/Q1;U=Unit;P=0815;S=17"};
const std::string noMain{"No main device found"};

TEST(Client, readsADeviceOrThrowsWhyNot)
{
    const auto service = std::make_shared<FakeService>(
        FakeService::Devices{{"good", {0, "<x/>", false}}, {"%s", {2, "not shown", false}}, {"odd", {-1, "", false}}});
    const Client client{service};
    EXPECT_THAT(client.deviceList(), ElementsAre("good", "%s", "odd"));
    const LogCapture log;
    EXPECT_EQ(client.deviceId("good"), "<x/>");
    const std::string text{"Device identification for (%s) failed (File error)"};
    EXPECT_THAT([&] { client.deviceId("%s"); }, ThrowsMessage<std::runtime_error>(text));
    EXPECT_THAT(log.lines(),
                ElementsAre(line(5, "deviceId(id = 'good')"), line(5, "deviceId(id = '%s')"), line(1, text)));
    EXPECT_THAT([&] { client.deviceId("odd"); }, ThrowsMessage<std::runtime_error>(HasSubstr("(Unknown error)")));
    EXPECT_THAT([&] { client.deviceIdAsVel("none"); },
                ThrowsMessage<std::runtime_error>("Device identification for (none) failed (Id was not found.)"));
    EXPECT_EQ(client.errorStr(3), "DBus error");
    EXPECT_EQ(client.errorStr(0), "Unknown error");
}

TEST(Client, writesADeviceOrReturnsFalseForAnyStatus)
{
    const auto service = std::make_shared<FakeService>(FakeService::Devices{});
    Client client{service};
    const LogCapture log;
    EXPECT_TRUE(client.setDeviceId("a", "<%n>"));
    for (service->writeStatus = -2; service->writeStatus < 0; ++service->writeStatus)
        EXPECT_FALSE(client.setDeviceId("a", "<%n>"));

    const auto entry = line(3, "Setting new deviceId data for (a) in xml (<%n>).");
    EXPECT_THAT(log.lines(),
                ElementsAre(entry, entry, line(1, "The deviceId data for (a) could not be set. Error code is (-2)."),
                            entry, line(1, "The deviceId data for (a) could not be set. Error code is (-1).")));
    EXPECT_THAT(service->calls, ElementsAre("write a <%n>", "write a <%n>", "write a <%n>"));
}

TEST(Client, findsTheFirstMainDeviceAndReportsEveryOther)
{
    const auto service = std::make_shared<FakeService>(FakeService::Devices{{"broken", {3, "<b/>", true}},
                                                                            {"empty", {0, "", true}},
                                                                            {"plain", {0, "<p/>", false}},
                                                                            {"first", {0, "<1/>", true}},
                                                                            {"second", {0, "<2/>", true}},
                                                                            {"third", {0, "", true}}});
    const LogCapture log;
    EXPECT_EQ(Client{service}.main(), "<1/>");
    const std::string warning{"There was more than one main device found. The first (and returned) main device has the "
                              "following xml (<1/>) and the second one that ("};
    EXPECT_THAT(log.lines(), ElementsAre(line(2, "Device identification of (broken) is not valid (DBus error)"),
                                         line(1, warning + "<2/>)."), line(1, warning + ").")));
    EXPECT_THAT(service->calls,
                ElementsAre("read broken", "read empty", "read plain", "read first", "read second", "read third"));
}

TEST(Client, throwsWhenThereIsNoMainDevice)
{
    for (const auto& devices : {FakeService::Devices{}, {{"a", {0, "<a/>", false}}}, {{"a", {0, "", true}}}})
    {
        const LogCapture log;
        const Client client{std::make_shared<FakeService>(devices)};
        EXPECT_THAT([&] { client.main(); }, ThrowsMessage<std::runtime_error>(noMain));
        EXPECT_THAT([&] { client.mainAsVel(); }, ThrowsMessage<std::runtime_error>(noMain));
        EXPECT_THAT(log.lines(), IsEmpty());
    }
    const LogCapture log;
    const Client client{
        std::make_shared<FakeService>(FakeService::Devices{{"a", {1, "", true}}, {"b", {2, "", true}}})};
    EXPECT_THAT([&] { client.main(); }, ThrowsMessage<std::runtime_error>(noMain));
    EXPECT_EQ(log.count(2, "is not valid"), 2U);
}

TEST(Client, readsVelOutOfTheDocumentsAndSaysWhoseDocumentHasNone)
{
    const auto service = std::make_shared<FakeService>(
        FakeService::Devices{{"a", {0, velToDeviceIdXml(vel), true}}, {"%s", {0, "no XML", false}}});
    const Client client{service};
    EXPECT_EQ(client.deviceIdAsVel("a"), vel);
    EXPECT_EQ(client.mainAsVel(), vel);

    service->devices.front().second.xml = "no XML";
    const LogCapture log;
    EXPECT_THAT([&] { client.deviceIdAsVel("%s"); },
                ThrowsMessage<std::runtime_error>(StartsWith("The device id '%s' has no valid vel (")));
    EXPECT_THAT([&] { client.mainAsVel(); },
                ThrowsMessage<std::runtime_error>(StartsWith("The main device has no valid vel (")));
    EXPECT_TRUE(log.contains(1, "The device id '%s' has no valid vel ("));
    EXPECT_TRUE(log.contains(1, "The main device has no valid vel ("));
}

TEST(Client, writesVelAsADocumentAndNothingAtAllIfItIsInvalid)
{
    const auto service = std::make_shared<FakeService>(FakeService::Devices{});
    Client client{service};
    EXPECT_TRUE(client.setDeviceIdFromVel("a", vel));
    EXPECT_THROW(client.setDeviceIdFromVel("a", "no VEL"), std::invalid_argument);
    EXPECT_THAT(service->calls, ElementsAre("write a " + velToDeviceIdXml(vel)));
}

TEST(Client, letsWhatTheServiceThrowsThrough)
{
    const auto service = std::make_shared<FakeService>(FakeService::Devices{{"a", {}}});
    Client client{service};
    service->fault = [] { throw std::logic_error("bus"); };
    const LogCapture log{Severity::Error};
    EXPECT_THROW(client.deviceList(), std::logic_error);
    EXPECT_THROW(client.main(), std::logic_error);
    EXPECT_THROW(client.deviceIdAsVel("a"), std::logic_error);
    EXPECT_THROW(client.setDeviceId("a", ""), std::logic_error);
    EXPECT_THAT(log.lines(), IsEmpty());
}

} // namespace
