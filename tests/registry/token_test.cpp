#include "support/log_capture.h"

#include <deviceid/contribution_manager.h>
#include <deviceid/token.h>

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

const auto ignore = [](const std::string&) {};

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

TEST(Token, survivesARemovalThatFailsAndSaysSo)
{
    const auto contribution = std::make_shared<Contribution>(
        false, "a", [] { return ""; }, ignore);
    const LogCapture log;
    {
        const Token standard{contribution,
                             std::make_shared<FailingManager>([] { throw std::invalid_argument("%s!"); })};
        const Token foreign{contribution, std::make_shared<FailingManager>([] { throw 5; })};
    }
    EXPECT_EQ(log.count(1, "Could not remove a device id contribution"), 2U);
    EXPECT_TRUE(log.contains(1, "%s!"));
    EXPECT_EQ(contribution.use_count(), 1);
}

TEST(Token, mayBeOwnedByTheFunctionsOfAnotherDevice)
{
    const auto registry = ContributionManager::instance();
    std::shared_ptr<TokenIfc> inner = registry->addDeviceId(
        false, "inner", [] { return ""; }, ignore);
    auto outer = registry->addDeviceId(
        false, "outer", [owned = std::move(inner)] { return ""; }, ignore);
    EXPECT_EQ(registry->deviceList().size(), 2U);
    outer.reset();
    EXPECT_THAT(registry->deviceList(), IsEmpty());
}

} // namespace
