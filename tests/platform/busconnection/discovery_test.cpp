#include "support/bus_test.h"

#include <busconnection/dbus/factory.h>

#include <gmock/gmock.h>

#include <algorithm>
#include <csignal>
#include <memory>
#include <ostream>
#include <string>
#include <vector>

namespace
{

using testing::ElementsAre;
using testing::Pair;
using Tests::BusTest;
using Tests::kBusType;
using Tests::kInterface;
using Tests::kObjectPath;
using Tolvek::Orvan::Utils::BusConnection::Dbus::Factory;

/// Exports an interface at some paths under one name, on a thread of its own.
class Exporter
{
public:
    Exporter(const std::vector<std::string>& names, const std::vector<std::string>& paths,
             const std::string& interface = kInterface)
        : connection_{sdbus::createSessionBusConnection()}
    {
        for (const auto& path : paths)
        {
            auto object = sdbus::createObject(*connection_, path);
            object->registerMethod("ping").onInterface(interface).implementedAs([] {});
            object->finishRegistration();
            objects_.push_back(std::move(object));
        }
        for (const auto& name : names)
            connection_->requestName(name);
        connection_->enterEventLoopAsync();
    }

private:
    std::unique_ptr<sdbus::IConnection> connection_;
    std::vector<std::unique_ptr<sdbus::IObject>> objects_;
};

class Discovery : public BusTest
{
protected:
    static Factory::ObjectsByName found()
    {
        return std::make_shared<Factory>(kBusType)->objectsImplementing(kInterface);
    }

    /// A healthy provider that every test with faulty peers must still find, and only that.
    Exporter healthy_{{"com.tolvek.orvan.deviceid.healthy"}, {kObjectPath}};
};

TEST_F(Discovery, everyNameAndPathBelowTheCommonPathIsFound)
{
    const Exporter twoPaths{{"com.tolvek.orvan.deviceid.b"}, {kObjectPath, "/com/tolvek/orvan/x/y/z"}};
    const Exporter otherName{{"org.example.Elsewhere"}, {"/com/tolvek/orvan/another"}};
    const Exporter atRoot{{"com.tolvek.root"}, {"/com/tolvek/orvan"}};
    const Exporter twoNames{{"com.tolvek.orvan.deviceid.n1", "org.example.N2"}, {kObjectPath}};
    const Exporter outside{{"org.example.Outside"}, {"/org/example/outside"}};
    const Exporter otherInterface{{"org.example.Other"}, {kObjectPath}, "org.example.Interface"};
    const Exporter noName{{}, {kObjectPath}};

    EXPECT_THAT(found(),
                ElementsAre(Pair("com.tolvek.orvan.deviceid.b", ElementsAre(kObjectPath, "/com/tolvek/orvan/x/y/z")),
                            Pair("com.tolvek.orvan.deviceid.healthy", ElementsAre(kObjectPath)),
                            Pair("com.tolvek.orvan.deviceid.n1", ElementsAre(kObjectPath)),
                            Pair("com.tolvek.root", ElementsAre("/com/tolvek/orvan")),
                            Pair("org.example.Elsewhere", ElementsAre("/com/tolvek/orvan/another")),
                            Pair("org.example.N2", ElementsAre(kObjectPath))));
}

TEST_F(Discovery, namesAreListedAnewForEveryDiscovery)
{
    const auto factory = std::make_shared<Factory>(kBusType);
    const auto names = factory->serviceNames();
    EXPECT_THAT(names, testing::Contains("org.freedesktop.DBus"));
    EXPECT_THAT(names, testing::Contains(factory->uniqueName()));
    EXPECT_EQ(factory->objectsImplementing(kInterface).size(), 1U);

    const Exporter late{{"com.tolvek.orvan.deviceid.late"}, {kObjectPath}};
    EXPECT_EQ(factory->objectsImplementing(kInterface).size(), 2U);
}

TEST_F(Discovery, aProviderCanDiscoverWhileItServes)
{
    const auto provider = std::make_shared<Factory>("org.example.Provider", kBusType);
    EXPECT_EQ(provider->objectsImplementing(kInterface).size(), 1U);
}

struct Fault
{
    const char* name;
    const char* reason; ///< with which the peer is passed over; null: it says itself that it offers nothing
    int argument = 0;

    friend std::ostream& operator<<(std::ostream& stream, const Fault& fault) { return stream << fault.name; }
};

class DiscoveryWithFault : public Discovery, public testing::WithParamInterface<Fault>
{
};

TEST_P(DiscoveryWithFault, passesOverThatPeerOnly)
{
    const auto foreign = faultyPeer("org.example.Faulty", GetParam().name, GetParam().argument);
    const auto ours = faultyPeer("com.tolvek.orvan.deviceid.faulty", GetParam().name, GetParam().argument);

    EXPECT_THAT(found(), ElementsAre(Pair("com.tolvek.orvan.deviceid.healthy", ElementsAre(kObjectPath))));
    if (GetParam().reason != nullptr)
    {
        for (const std::string name : {"org.example.Faulty", "com.tolvek.orvan.deviceid.faulty"})
            EXPECT_EQ(log().count(2, "Passing over " + name + ": " + GetParam().reason), 1U)
                << name << ' ' << testing::PrintToString(log().lines());
    }
}

INSTANTIATE_TEST_SUITE_P(
    Faults, DiscoveryWithFault,
    testing::Values(Fault{"silent", "it does not answer"}, Fault{"slow", "it does not answer", 5000},
                    Fault{"flood", "it does not answer"}, Fault{"error", nullptr}, Fault{"vanish", nullptr},
                    Fault{"vanish-later", nullptr}, Fault{"not-utf8", nullptr}, Fault{"feigns-limits", nullptr},
                    Fault{"feigns-absence", nullptr}, Fault{"long-name", "the name of an object is too long"},
                    Fault{"long-path", "the name of an object is too long"},
                    Fault{"other-type", "its answer is not introspection XML"},
                    Fault{"not-xml", "its answer is not introspection XML"},
                    Fault{"empty-text", "its answer is not introspection XML"}, Fault{"huge", "its answer is too long"},
                    Fault{"deep", "its objects are nested too deeply"},
                    Fault{"deeper-and-deeper", "its objects are nested too deeply"},
                    Fault{"many-children", "it has too many objects"}, Fault{"endless", "it has too many objects"}),
    [](const auto& test)
    {
        std::string name{test.param.name};
        std::replace(name.begin(), name.end(), '-', '_');
        return name;
    });

TEST_F(Discovery, oddChildNamesDoNotHideTheOthers)
{
    const auto odd = faultyPeer("org.example.Odd", "odd-names");
    EXPECT_THAT(found(), ElementsAre(Pair("com.tolvek.orvan.deviceid.healthy", ElementsAre(kObjectPath)),
                                     Pair("org.example.Odd", ElementsAre(kObjectPath))));
}

TEST_F(Discovery, aPeerOfThisPlatformMayTakeTwoSecondsAndAnotherLess)
{
    const auto slow = faultyPeer("com.tolvek.orvan.deviceid.slow", "slow", 600);
    const auto slowToo = faultyPeer("org.example.Slow", "slow", 500); // answers, but when it has been given up
    EXPECT_THAT(found(), ElementsAre(Pair("com.tolvek.orvan.deviceid.healthy", ElementsAre(kObjectPath)),
                                     Pair("com.tolvek.orvan.deviceid.slow", ElementsAre(kObjectPath))));
}

TEST_F(Discovery, aPeerThatNeverComesToAnEndMayNotTakeForEver)
{
    const auto endless = faultyPeer("org.example.Endless", "endless-slow", 20); // comes not yet to too many objects
    EXPECT_EQ(found().size(), 1U);
    EXPECT_TRUE(log().contains(2, "Passing over org.example.Endless: it takes too long"));
}

TEST_F(Discovery, peersThatNameManyObjectsHoldNobodyUpAndAreAskedLittleAtATime)
{
    const Exporter elsewhere{{"org.example.Elsewhere"}, {"/com/tolvek/orvan/another"}};
    const std::vector<std::string> names{"org.example.Crowd1", "org.example.Crowd2", "org.example.Crowd3"};

    constexpr int kRounds = 3; // the bus lists its names in another order every time
    for (int i = 0; i < kRounds; ++i)
    {
        std::vector<std::unique_ptr<Tests::Process>> crowds(names.size());
        std::transform(names.begin(), names.end(), crowds.begin(),
                       [](const auto& name) { return faultyPeer(name, "names-then-silent", 1000); });
        log().clear();
        EXPECT_THAT(found(), ElementsAre(Pair("com.tolvek.orvan.deviceid.healthy", ElementsAre(kObjectPath)),
                                         Pair("org.example.Elsewhere", ElementsAre("/com/tolvek/orvan/another"))));
        for (const auto& name : names)
            EXPECT_TRUE(log().contains(2, "Passing over " + name + ": it does not answer"));
    }
}

TEST_F(Discovery, asksManyPeersAtTheSameTime)
{
    constexpr int kTogether = 48; // in less than the patience with a single one of them
    const auto crowd = faultyPeer("org.example.Crowd", "answers-together", kTogether, kTogether);
    EXPECT_EQ(found().size(), 1U);
    EXPECT_EQ(log().count(2, "Passing over"), 0U) << testing::PrintToString(log().lines());
}

TEST_F(Discovery, moreSilentPeersThanTheWindowHideNobody)
{
    // A system bus refuses the 129th open question of a connection: the questions must move to another one. Some of the
    // many names come late in whatever order the bus lists them.
    const auto silent = faultyPeer("org.example.Silent", "silent", 0, 150);
    const std::vector<std::string> names{"org.example.a", "org.example.b", "org.example.c",
                                         "org.example.d", "org.example.e", "org.example.f"};
    const Exporter foreign{names, {kObjectPath}};

    const auto factory = std::make_shared<Factory>(kBusType);
    EXPECT_EQ(factory->objectsImplementing(kInterface).size(), names.size() + 1);

    auto call = sdbus::createProxy(factory->connection(), "com.tolvek.orvan.deviceid.healthy", kObjectPath);
    EXPECT_NO_THROW(call->callMethod("ping").onInterface(kInterface));
}

TEST_F(BusTest, aBusThatGoesAwayWithQuestionsOpenIsAnErrorNotAnEmptyResult)
{
    const auto murderer = faultyPeer("org.example.Murderer", "kills-process", bus().pid());
    const auto other = faultyPeer("com.tolvek.Silent", "silent");
    EXPECT_THROW(std::make_shared<Factory>(kBusType)->objectsImplementing(kInterface), sdbus::Error);
}

TEST_F(BusTest, aBusThatStopsWithQuestionsOpenIsAnErrorNotAnEmptyResult)
{
    if (bus().isBroker())
        GTEST_SKIP() << "the process that can be stopped here only watches the bus";
    const auto other = faultyPeer("org.example.Stopper", "stops-process", bus().pid());
    EXPECT_THROW(std::make_shared<Factory>(kBusType)->objectsImplementing(kInterface), sdbus::Error);
    kill(bus().pid(), SIGCONT);
}

TEST_F(BusTest, aBusThatGoesAwayIsAnErrorNotAnEmptyResult)
{
    const auto other = faultyPeer("org.example.Slow", "slow", 100);
    const auto factory = std::make_shared<Factory>(kBusType);
    factory->serviceNames();
    bus().kill();
    EXPECT_THROW(factory->objectsImplementing(kInterface), sdbus::Error);
    EXPECT_THROW(std::make_shared<Factory>(kBusType), sdbus::Error);
}

} // namespace
