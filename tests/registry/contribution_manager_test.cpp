#include "support/log_capture.h"

#include <deviceid/contribution_manager.h>

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

const std::string contributionName{"Tolvek::Orvan::DeviceId::Contribution"};
const auto ignore = [](const std::string&) {};

Line line(int severity, const std::string& text)
{
    return {severity, "Tolvek::Orvan::DeviceId::ContributionManager", text};
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

TEST_F(Registry, tellsTheStoryOfARegistrationInTheLog)
{
    const std::string id{"50% #/x %s"};
    const LogCapture log;
    const auto other = add("other");
    auto token = add(id);
    registry().deviceId(id);
    registry().setDeviceId(id, "<%n>");
    registry().deviceList();
    token.reset();

    EXPECT_THAT(log.lines(),
                ElementsAre(line(3, "-addContribution: id=other: OK"), line(3, "-addContribution: size of list is 1"),
                            line(3, "-addContribution: id=" + id + ": OK"),
                            line(3, "-addContribution: size of list is 2"), line(4, "+deviceId(id='" + id + "')"),
                            line(4, "-deviceId(id='" + id + "'): OK"),
                            line(4, "+setDeviceId(id='" + id + "', xmlData='<%n>')"),
                            line(3, "-setDeviceId(id='" + id + "'): OK"), line(4, "deviceList: returns 2 items"),
                            line(4, "remove(contribution.id() = '" + id + "')"),
                            line(3, "removed contribution with id '" + id + "'")));
    EXPECT_THAT(registry().deviceList(), ElementsAre("other"));
}

TEST_F(Registry, secondMainIsRefusedUntilTheFirstIsGone)
{
    auto first = add("first", true);
    const LogCapture log;
    EXPECT_THAT([&] { add("second", true); }, ThrowsMessage<std::invalid_argument>("Main device ID already exist"));
    EXPECT_THAT(log.lines(), ElementsAre(line(1, "New contribution with ID 'second' states to be the main one, but we "
                                                 "already have one with ID 'first'")));
    EXPECT_THAT(registry().deviceList(), ElementsAre("first"));

    first.reset();
    const auto second = add("second", true);
    EXPECT_THAT(registry().deviceList(), ElementsAre("second"));
}

TEST_F(Registry, takenIdIsRefusedFirstOfAllAndTheDeviceThatHasItStays)
{
    const auto token = registry().addDeviceId(
        true, "a", [] { return "original"; }, ignore);
    const LogCapture log;
    for (const bool isMain : {false, true})
        EXPECT_THAT([&] { add("a", isMain); },
                    ThrowsMessage<std::invalid_argument>("Duplicate device ID contribution ID"));
    EXPECT_THAT(log.lines(), Each(line(1, "There is already a deviceid contribution with the id 'a'")));
    EXPECT_EQ(log.lines().size(), 2U);
    EXPECT_EQ(registry().deviceId("a")->xml, "original");

    EXPECT_THROW(registry().addDeviceId(false, "b", nullptr, nullptr), std::invalid_argument);
    EXPECT_THAT(registry().deviceList(), ElementsAre("a"));
}

TEST_F(Registry, readsOneDeviceAndDoesNotKnowOthers)
{
    const auto main = add("m", true);
    EXPECT_THAT(registry().deviceId("m"), Pointee(FieldsAre(0, "<m>", true)));

    const LogCapture log;
    EXPECT_THAT(registry().deviceId("M"), Pointee(FieldsAre(1, "", false)));
    EXPECT_EQ(registry().setDeviceId("M", "<x/>"), 1);
    EXPECT_THAT(log.lines(), ElementsAre(line(4, "+deviceId(id='M')"), line(1, "No contribution with ID 'M' found"),
                                         line(4, "+setDeviceId(id='M', xmlData='<x/>')"),
                                         line(2, "-setDeviceId(id='M'): no such id")));
}

TEST_F(Registry, turnsAFailingDeviceIntoAStatusAndLogsItsReason)
{
    const auto token = registry().addDeviceId(
        true, "d", []() -> std::string { throw std::runtime_error("no file"); },
        [](const std::string&) { throw std::runtime_error("full"); });
    const LogCapture log{Severity::Error};

    EXPECT_THAT(registry().deviceId("d"), Pointee(FieldsAre(2, "", false)));
    EXPECT_EQ(registry().setDeviceId("d", "<x/>"), 2);
    EXPECT_THAT(log.lines(),
                ElementsAre(Line{1, contributionName, "Error while reading Device Id 'd'. Error was no file"},
                            line(1, "Failed to read deviceId contribution with ID 'd'. Error was: no file."),
                            Line{1, contributionName, "Error while writing Device Id 'd'. Error was full"},
                            line(1, "Setting the device id data for 'd' to '<x/>' failed with error 'full'")));
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
    const auto namesake = std::make_shared<Contribution>(
        false, "a", [] { return ""; }, ignore);
    registry().remove(namesake);
    EXPECT_THAT(registry().deviceList(), IsEmpty());

    const LogCapture log;
    token.reset();
    EXPECT_THAT(log.lines(), ElementsAre(line(4, "remove(contribution.id() = 'a')"),
                                         line(2, "remove(id = 'a'): no such contribution, nothing to remove")));
}

} // namespace
