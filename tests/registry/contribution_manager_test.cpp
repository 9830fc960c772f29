#include <log_capture.h>

#include <deviceid/contribution_manager.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <stdexcept>
#include <utility>

namespace
{

using testing::ElementsAre;
using testing::IsEmpty;
using testing::ThrowsMessage;
using Tests::Line;
using Tests::LogCapture;
using Tolvek::Orvan::DeviceId::Contribution;
using Tolvek::Orvan::DeviceId::ContributionManager;
using Tolvek::Orvan::DeviceId::TokenIfc;

const std::string ownName{"Tolvek::Orvan::DeviceId::ContributionManager"};
const std::string contributionName{"Tolvek::Orvan::DeviceId::Contribution"};

class Registry : public testing::Test
{
protected:
    std::unique_ptr<TokenIfc> add(const std::string& id, bool isMain = false)
    {
        return registry_->addDeviceId(
            isMain, id, [id] { return "<" + id + ">"; }, [](const std::string&) {});
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

    EXPECT_THAT(log.lines(), ElementsAre(Line{3, ownName, "-addContribution: id=other: OK"},
                                         Line{3, ownName, "-addContribution: size of list is 1"},
                                         Line{3, ownName, "-addContribution: id=" + id + ": OK"},
                                         Line{3, ownName, "-addContribution: size of list is 2"},
                                         Line{4, ownName, "+deviceId(id='" + id + "')"},
                                         Line{4, ownName, "-deviceId(id='" + id + "'): OK"},
                                         Line{4, ownName, "+setDeviceId(id='" + id + "', xmlData='<%n>')"},
                                         Line{3, ownName, "-setDeviceId(id='" + id + "'): OK"},
                                         Line{4, ownName, "deviceList: returns 2 items"},
                                         Line{4, ownName, "remove(contribution.id() = '" + id + "')"},
                                         Line{3, ownName, "removed contribution with id '" + id + "'"}));
    EXPECT_THAT(registry().deviceList(), ElementsAre("other"));
}

TEST_F(Registry, secondMainIsRefusedUntilTheFirstIsGone)
{
    auto first = add("first", true);
    const LogCapture log;
    EXPECT_THAT([&] { add("second", true); }, ThrowsMessage<std::invalid_argument>("Main device ID already exist"));
    EXPECT_THAT(log.lines(), ElementsAre(Line{1, ownName,
                                              "New contribution with ID 'second' states to be the main one, but we "
                                              "already have one with ID 'first'"}));
    EXPECT_THAT(registry().deviceList(), ElementsAre("first"));

    first.reset();
    const auto second = add("second", true);
    EXPECT_THAT(registry().deviceList(), ElementsAre("second"));
}

TEST_F(Registry, takenIdIsRefusedEvenWhenTheMainRoleIsTakenTooAndTheFirstDeviceStays)
{
    const auto token = add("a", true);
    const LogCapture log;
    for (const bool isMain : {false, true})
        EXPECT_THAT(
            [&]
            {
                registry().addDeviceId(
                    isMain, "a", [] { return "other"; }, [](const std::string&) {});
            },
            ThrowsMessage<std::invalid_argument>("Duplicate device ID contribution ID"));

    const Line line{1, ownName, "There is already a deviceid contribution with the id 'a'"};
    EXPECT_THAT(log.lines(), ElementsAre(line, line));
    EXPECT_EQ(registry().deviceId("a")->xml, "<a>");
}

TEST_F(Registry, invalidDeviceLeavesItUsableAndUnchanged)
{
    EXPECT_THROW(registry().addDeviceId(false, "a", nullptr, nullptr), std::invalid_argument);
    EXPECT_THROW(registry().addVel(false, "", nullptr, nullptr), std::invalid_argument);
    EXPECT_THAT(registry().deviceList(), IsEmpty());
}

TEST_F(Registry, readsOneDeviceAndDoesNotKnowOthers)
{
    const auto main = add("m", true);
    const auto found = registry().deviceId("m");
    EXPECT_EQ(found->status, 0);
    EXPECT_EQ(found->xml, "<m>");
    EXPECT_TRUE(found->isMain);

    const LogCapture log;
    const auto unknown = registry().deviceId("M");
    EXPECT_EQ(unknown->status, 1);
    EXPECT_EQ(unknown->xml, "");
    EXPECT_FALSE(unknown->isMain);
    EXPECT_EQ(registry().setDeviceId("M", "<x/>"), 1);
    EXPECT_THAT(log.lines(), ElementsAre(Line{4, ownName, "+deviceId(id='M')"},
                                         Line{1, ownName, "No contribution with ID 'M' found"},
                                         Line{4, ownName, "+setDeviceId(id='M', xmlData='<x/>')"},
                                         Line{2, ownName, "-setDeviceId(id='M'): no such id"}));
}

TEST_F(Registry, turnsAFailingDeviceIntoAStatusAndLogsItsReason)
{
    const auto token = registry().addDeviceId(
        true, "d", []() -> std::string { throw std::runtime_error("no file"); },
        [](const std::string&) { throw std::runtime_error("full"); });
    const LogCapture log{Tolvek::Orvan::Log::Severity::Error};

    const auto data = registry().deviceId("d");
    EXPECT_EQ(data->status, 2);
    EXPECT_EQ(data->xml, "");
    EXPECT_FALSE(data->isMain);
    EXPECT_EQ(registry().setDeviceId("d", "<x/>"), 2);
    EXPECT_THAT(log.lines(),
                ElementsAre(Line{1, contributionName, "Error while reading Device Id 'd'. Error was no file"},
                            Line{1, ownName, "Failed to read deviceId contribution with ID 'd'. Error was: no file."},
                            Line{1, contributionName, "Error while writing Device Id 'd'. Error was full"},
                            Line{1, ownName, "Setting the device id data for 'd' to '<x/>' failed with error 'full'"}));
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
        false, "a", [] { return ""; }, [](const std::string&) {});
    registry().remove(namesake);
    EXPECT_THAT(registry().deviceList(), IsEmpty());

    const LogCapture log;
    token.reset();
    EXPECT_THAT(log.lines(),
                ElementsAre(Line{4, ownName, "remove(contribution.id() = 'a')"},
                            Line{2, ownName, "remove(id = 'a'): no such contribution, nothing to remove"}));
}

} // namespace
