#include "support/private_bus.h"

#include <busconnection/dbus/factory.h>

#include <sdbus-c++/sdbus-c++.h>

#include <gtest/gtest.h>

#include <cstdlib>
#include <future>
#include <memory>
#include <optional>
#include <vector>

namespace
{

using Tolvek::Orvan::Utils::BusConnection::Dbus::BusType;
using Tolvek::Orvan::Utils::BusConnection::Dbus::Factory;

/// A bus with the limits of a system bus, all of whose connections for this user are taken.
class FullBus : public testing::Test
{
protected:
    FullBus()
    {
        setenv("DEVICEID_TEST_BUS", "system", 1);
        bus_.emplace();
        try
        {
            for (;;)
                connections_.push_back(sdbus::createSessionBusConnection());
        }
        catch (const sdbus::Error&)
        {
            EXPECT_EQ(connections_.size(), 256U);
        }
    }

    std::optional<Tests::PrivateBus> bus_;
    std::vector<std::unique_ptr<sdbus::IConnection>> connections_;
};

TEST_F(FullBus, openingFailsWithTheErrorOfTheBus)
{
    EXPECT_THROW(std::make_shared<Factory>(BusType::Session), sdbus::Error);
}

TEST_F(FullBus, openingSucceedsWhenAConnectionClosesInTime)
{
    auto opening = std::async(std::launch::async, [] { return std::make_shared<Factory>(BusType::Session); });
    connections_.pop_back();
    EXPECT_NE(opening.get()->uniqueName(), "");
}

} // namespace
