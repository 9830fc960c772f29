#include "support/log_capture.h"

#include <deviceid/contribution_manager.h>
#include <deviceid/token.h>
#include <deviceid/vel_conversion.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <functional>
#include <stdexcept>
#include <utility>

namespace
{

using namespace testing;
using namespace Tests;
using namespace Tolvek::Orvan::DeviceId;
using Tolvek::Orvan::Log::Severity;

const std::string prefix{"Tolvek::Orvan::DeviceId::"};
const std::string vel{"VEL/Q1;U=Unit %s;P=0815;S=17;L=Hall <4>;D=2021-03-04;E=1.2"};
const ReadFunction readNothing = [] { return std::string{}; };
const WriteFunction ignore = [](const std::string&) {};

Line line(int severity, const std::string& text)
{
    return {severity, prefix + "ContributionManager", text};
}

Line errorOf(const std::string& contribution, const std::string& text)
{
    return {1, prefix + contribution, text};
}

class Registry : public testing::Test
{
protected:
    std::unique_ptr<TokenIfc> add(const std::string& id, bool isMain = false)
    {
        return registry_->addDeviceId(
            isMain, id, [id] { return "<" + id + ">"; }, ignore);
    }

    ContributionManager& registry() { return *registry_; }

private:
    std::shared_ptr<ContributionManager> registry_{ContributionManager::instance()};
};

TEST_F(Registry, refusesADeviceWithoutBothFunctionsAndThenWithoutAnId)
{
    const std::string missing{"A read or write device id contribution is required."};
    const LogCapture log;
    EXPECT_THAT([] { Contribution(true, "%n", nullptr, ignore); }, ThrowsMessage<std::invalid_argument>(missing));
    EXPECT_THAT([&] { registry().addDeviceId(true, "", readNothing, {}); },
                ThrowsMessage<std::invalid_argument>(missing));
    EXPECT_THAT([&] { registry().addDeviceId(true, "", readNothing, ignore); },
                ThrowsMessage<std::invalid_argument>("Id is empty"));
    EXPECT_THROW(registry().addVel(true, "", readNothing, ignore), std::invalid_argument);

    const std::string reason{"a read or write device id contribution is required but at least one was nullptr."};
    EXPECT_THAT(log.lines(),
                ElementsAre(errorOf("Contribution", "For contribution id '%n', " + reason),
                            errorOf("Contribution", "For contribution id '', " + reason),
                            errorOf("Contribution", "Id is empty"), errorOf("VelIdContribution", "Id is empty")));
    EXPECT_THAT(registry().deviceList(), IsEmpty());
}

TEST_F(Registry, listsTheMainDeviceFirstAndTheOthersByTheirBytes)
{
    const auto c = add("c");
    const auto high = add("\xc3\xa4");
    const auto a = add("a");
    EXPECT_THAT(registry().deviceList(), ElementsAre("a", "c", "\xc3\xa4"));
    EXPECT_EQ(registry().idOfMain(), "");

    const auto b = add("b", true);
    EXPECT_THAT(registry().deviceList(), ElementsAre("b", "a", "c", "\xc3\xa4"));
    EXPECT_EQ(registry().idOfMain(), "b");
    EXPECT_EQ(registry().name(), "unused");
}

TEST_F(Registry, handsTextsOnByteForByteAndTellsTheStoryInTheLog)
{
    const std::string id{"50% #/x %s"};
    std::string bytes{"<a>\0\xff%s</a>", 11};
    std::string written;
    const LogCapture log;
    const auto other = add("other", true);
    auto token = registry().addDeviceId(
        false, id, [&] { return bytes; }, [&](std::string xml) { written = std::move(xml); });
    EXPECT_THAT(registry().deviceId(id), Pointee(FieldsAre(0, bytes, false)));
    EXPECT_THAT(registry().deviceId("other"), Pointee(FieldsAre(0, "<other>", true)));
    EXPECT_EQ(registry().setDeviceId(id, bytes), 0);
    EXPECT_EQ(written, bytes);
    registry().deviceList();
    token.reset();
    EXPECT_THAT(registry().deviceId(id), Pointee(FieldsAre(1, "", false)));
    EXPECT_EQ(registry().setDeviceId(id, "<%n>"), 1);

    EXPECT_THAT(log.lines(),
                ElementsAre(line(3, "-addContribution: id=other: OK"), line(3, "-addContribution: size of list is 1"),
                            line(3, "-addContribution: id=" + id + ": OK"),
                            line(3, "-addContribution: size of list is 2"), line(4, "+deviceId(id='" + id + "')"),
                            line(4, "-deviceId(id='" + id + "'): OK"), line(4, "+deviceId(id='other')"),
                            line(4, "-deviceId(id='other'): OK"),
                            line(4, "+setDeviceId(id='" + id + "', xmlData='" + bytes + "')"),
                            line(3, "-setDeviceId(id='" + id + "'): OK"), line(4, "deviceList: returns 2 items"),
                            line(4, "remove(contribution.id() = '" + id + "')"),
                            line(3, "removed contribution with id '" + id + "'"), line(4, "+deviceId(id='" + id + "')"),
                            line(1, "No contribution with ID '" + id + "' found"),
                            line(4, "+setDeviceId(id='" + id + "', xmlData='<%n>')"),
                            line(2, "-setDeviceId(id='" + id + "'): no such id")));
    EXPECT_THAT(registry().deviceList(), ElementsAre("other"));
}

TEST_F(Registry, takenIdIsRefusedFirstOfAllAndASecondMainUntilTheFirstIsGone)
{
    auto first = add("first", true);
    const LogCapture log;
    for (const bool isMain : {false, true})
        EXPECT_THAT([&] { add("first", isMain); },
                    ThrowsMessage<std::invalid_argument>("Duplicate device ID contribution ID"));
    EXPECT_THAT([&] { add("second", true); }, ThrowsMessage<std::invalid_argument>("Main device ID already exist"));
    EXPECT_THAT(log.lines(), ElementsAre(line(1, "There is already a deviceid contribution with the id 'first'"),
                                         line(1, "There is already a deviceid contribution with the id 'first'"),
                                         line(1, "New contribution with ID 'second' states to be the main one, but we "
                                                 "already have one with ID 'first'")));
    EXPECT_THAT(registry().deviceList(), ElementsAre("first"));

    first.reset();
    const auto second = add("second", true);
    EXPECT_THAT(registry().deviceList(), ElementsAre("second"));
}

TEST_F(Registry, turnsAFailingDeviceIntoAStatusAndLogsItsReasonOnceForEachLayer)
{
    const ReadFunction failToRead = []() -> std::string { throw std::runtime_error("no %n"); };
    const WriteFunction failToWrite = [](const std::string&) { throw std::runtime_error("full"); };
    const auto token = registry().addDeviceId(true, "d", failToRead, failToWrite);
    const auto velToken = registry().addVel(false, "v", failToRead, failToWrite);
    const std::string xml = velToDeviceIdXml(vel);
    const LogCapture log{Severity::Error};
    for (const auto* id : {"d", "v"})
    {
        EXPECT_THAT(registry().deviceId(id), Pointee(FieldsAre(2, "", false)));
        EXPECT_EQ(registry().setDeviceId(id, xml), 2);
    }
    EXPECT_THAT(log.lines(),
                ElementsAre(errorOf("Contribution", "Error while reading Device Id 'd'. Error was no %n"),
                            line(1, "Failed to read deviceId contribution with ID 'd'. Error was: no %n."),
                            errorOf("Contribution", "Error while writing Device Id 'd'. Error was full"),
                            line(1, "Setting the device id data for 'd' to '" + xml + "' failed with error 'full'"),
                            errorOf("VelIdContribution", "Error while reading VEL Id 'v'. Error was no %n"),
                            line(1, "Failed to read deviceId contribution with ID 'v'. Error was: no %n."),
                            errorOf("VelIdContribution", "Error while writting Device Id 'v'. Error was 'full'"),
                            line(1, "Setting the device id data for 'v' to '" + xml + "' failed with error 'full'")));
}

TEST_F(Registry, staysUsableAfterADeviceThrewSomethingForeign)
{
    const auto token = registry().addDeviceId(
        false, "d", []() -> std::string { throw 1; }, [](const std::string&) { throw 2; });
    EXPECT_THROW(registry().deviceId("d"), int);
    EXPECT_THROW(registry().setDeviceId("d", ""), int);
    EXPECT_THAT(registry().deviceList(), ElementsAre("d")) << "the lock was not released";
}

TEST_F(Registry, removesByIdAloneAndShrugsAtWhatItDoesNotKnow)
{
    auto token = add("a");
    registry().remove(std::make_shared<Contribution>(false, "a", readNothing, ignore));
    EXPECT_THAT(registry().deviceList(), IsEmpty());

    const LogCapture log;
    token.reset();
    EXPECT_THAT(log.lines(), ElementsAre(line(4, "remove(contribution.id() = 'a')"),
                                         line(2, "remove(id = 'a'): no such contribution, nothing to remove")));
}

TEST_F(Registry, speaksVelWithADeviceThatDoes)
{
    std::string stored = vel;
    const auto token = registry().addVel(
        true, "dev", [&] { return stored; }, [&](std::string text) { stored = std::move(text); });
    EXPECT_THAT(registry().deviceId("dev"), Pointee(FieldsAre(0, velToDeviceIdXml(vel), true)));
    EXPECT_EQ(registry().setDeviceId("dev", velToDeviceIdXml("VEL/T;S=43")), 0);
    EXPECT_EQ(stored, "VEL/T;S=43");

    EXPECT_EQ(registry().setDeviceId("dev", "not XML"), 2);
    EXPECT_EQ(stored, "VEL/T;S=43");
    stored = "no VEL";
    EXPECT_THAT(registry().deviceId("dev"), Pointee(FieldsAre(2, "", false)));
}

TEST(Token, survivesARemovalThatFailsAndSaysSo)
{
    class FailingManager : public ContributionManagerIfc
    {
    public:
        explicit FailingManager(std::function<void()> failure)
            : failure_{std::move(failure)}
        {
        }
        void remove(const std::shared_ptr<Contribution>& /*contribution*/) override { failure_(); }

    private:
        std::function<void()> failure_;
    };
    const auto contribution = std::make_shared<Contribution>(false, "a", readNothing, ignore);
    const LogCapture log;
    for (const std::function<void()>& failure :
         {std::function<void()>{[] { throw std::invalid_argument("%s!"); }}, std::function<void()>{[] { throw 5; }}})
        const Token failing{contribution, std::make_shared<FailingManager>(failure)};
    EXPECT_EQ(log.count(1, "Could not remove a device id contribution"), 2U);
    EXPECT_TRUE(log.contains(1, "%s!"));
    EXPECT_EQ(contribution.use_count(), 1);
}

TEST_F(Registry, aTokenMayBeOwnedByTheFunctionsOfAnotherDevice)
{
    std::shared_ptr<TokenIfc> inner = add("inner");
    auto outer = registry().addDeviceId(
        false, "outer", [owned = std::move(inner)] { return ""; }, ignore);
    EXPECT_EQ(registry().deviceList().size(), 2U);
    outer.reset();
    EXPECT_THAT(registry().deviceList(), IsEmpty());
}

} // namespace
