#include "support/log_capture.h"

#include <deviceid/contribution_manager.h>
#include <deviceid/vel_conversion.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <stdexcept>
#include <utility>

namespace
{

using namespace testing;
using namespace Tests;
using namespace Tolvek::Orvan::DeviceId;
using Tolvek::Orvan::Log::Severity;

const std::string velName{"Tolvek::Orvan::DeviceId::VelIdContribution"};
const std::string registryName{"Tolvek::Orvan::DeviceId::ContributionManager"};
const std::string vel{"VEL/Q1;U=Unit %s;P=0815;S=17;L=Hall <4>;D=2021-03-04;E=1.2"};

TEST(VelIdContribution, speaksVelWithTheProcessAndXmlWithTheRegistry)
{
    const auto registry = ContributionManager::instance();
    std::string written;
    const auto token = registry->addVel(
        true, "dev", [] { return vel; }, [&](std::string text) { written = std::move(text); });

    EXPECT_THAT(registry->deviceId("dev"), Pointee(FieldsAre(0, velToDeviceIdXml(vel), true)));
    EXPECT_EQ(registry->setDeviceId("dev", velToDeviceIdXml(vel)), 0);
    EXPECT_EQ(written, vel);
}

TEST(VelIdContribution, answersWithAStatusWhenADocumentOrAVelStringIsInvalid)
{
    const auto registry = ContributionManager::instance();
    int writes = 0;
    const auto token = registry->addVel(
        false, "dev", [] { return "no VEL"; }, [&](const std::string&) { ++writes; });
    const LogCapture log;

    EXPECT_EQ(registry->setDeviceId("dev", "not XML"), 2);
    EXPECT_EQ(writes, 0);
    EXPECT_TRUE(log.contains(1, "Error while writting Device Id 'dev'. Error was '"));

    EXPECT_THAT(registry->deviceId("dev"), Pointee(FieldsAre(2, "", false)));
    EXPECT_TRUE(log.contains(1, "Error while reading VEL Id 'dev'. Error was "));
}

TEST(VelIdContribution, logsAFailureOfTheProcessOnceUnderItsOwnName)
{
    const LogCapture log{Severity::Error};
    const auto registry = ContributionManager::instance();
    const auto token = registry->addVel(
        false, "dev", []() -> std::string { throw std::runtime_error("r"); },
        [](const std::string&) { throw std::runtime_error("w"); });
    const std::string xml = velToDeviceIdXml(vel);
    registry->deviceId("dev");
    registry->setDeviceId("dev", xml);
    EXPECT_THROW(registry->addVel(
                     false, "", [] { return vel; }, [](const std::string&) {}),
                 std::invalid_argument);

    EXPECT_THAT(log.lines(),
                ElementsAre(Line{1, velName, "Error while reading VEL Id 'dev'. Error was r"},
                            Line{1, registryName, "Failed to read deviceId contribution with ID 'dev'. Error was: r."},
                            Line{1, velName, "Error while writting Device Id 'dev'. Error was 'w'"},
                            Line{1, registryName,
                                 "Setting the device id data for 'dev' to '" + xml + "' failed with error 'w'"},
                            Line{1, velName, "Id is empty"}));
}

} // namespace
