#include "daemon_fixture.h"

#include <atomic>
#include <csignal>
#include <thread>

namespace
{

using testing::ElementsAre;
using testing::HasSubstr;
using testing::Not;

constexpr const char* kProbe =
    R"(<deviceid partNo="3" serialNo="0815" name="Probe"><production location="L" when="2022-11-30T00:00:00"/></deviceid>)";

class ProviderDaemon : public Tests::ProviderDaemonTest
{
};

TEST_F(ProviderDaemon, publishesReadsAndWritesWhatItsFilesHold)
{
    make("unit", "VEL/T;U=Unit;S=1\n");
    make("probe", kProbe);
    make("board", "VEL/T;U=Board;S=2" + std::string(100, '\xFF'));
    const auto configuration = configure(R"(
[[device]]
id = 'unit'
path = '{}/unit'
form = 'vel'
main = true
[[device]]
id = 'probe'
path = '{}/probe'
form = 'xml'
[[device]]
id = 'fixed'
path = '{}/probe.fixed'
form = 'xml'
read-only = true
[[device]]
id = 'board'
path = '{}/board'
form = 'vel'
kind = 'eeprom'
)");
    make("probe.fixed", kProbe);
    const auto provider = start(configuration);
    const std::string prefix = kIdPrefix;
    EXPECT_THAT(client().deviceList(),
                ElementsAre(prefix + "unit", prefix + "board", prefix + "fixed", prefix + "probe"));
    EXPECT_EQ(client().mainAsVel(), "VEL/T;U=Unit;S=1");
    EXPECT_EQ(client().deviceId(prefix + "probe"), kProbe);
    EXPECT_EQ(client().deviceIdAsVel(prefix + "board"), "VEL/T;U=Board;S=2");

    EXPECT_TRUE(client().setDeviceIdFromVel(prefix + "unit", "VEL/T;U=Unit;S=3"));
    EXPECT_EQ(contentOf("unit"), "VEL/T;U=Unit;S=3\n");
    EXPECT_TRUE(client().setDeviceIdFromVel(prefix + "board", "VEL/T;U=Board;S=44"));
    EXPECT_EQ(contentOf("board"), "VEL/T;U=Board;S=44" + std::string(99, '\xFF'));
    const std::string other = std::string{kProbe}.replace(std::string{kProbe}.find("0815"), 4, "0816");
    EXPECT_TRUE(client().setDeviceId(prefix + "probe", other));
    EXPECT_EQ(contentOf("probe"), other);

    EXPECT_FALSE(client().setDeviceId(prefix + "fixed", other));
    EXPECT_FALSE(client().setDeviceId(prefix + "unit", kProbe)) << "holds no VEL string";
    EXPECT_FALSE(client().setDeviceId(prefix + "probe", "<deviceid/>"));
    EXPECT_FALSE(client().setDeviceIdFromVel(prefix + "board", "VEL/T;U=" + std::string(200, 'x')));
    EXPECT_EQ(contentOf("probe.fixed"), kProbe);
    EXPECT_EQ(contentOf("unit"), "VEL/T;U=Unit;S=3\n");
    EXPECT_EQ(contentOf("probe"), other);
    EXPECT_EQ(client().deviceIdAsVel(prefix + "board"), "VEL/T;U=Board;S=44");
    EXPECT_THAT(contentOf("errors"), HasSubstr("read-only by configuration"));
    EXPECT_THAT(contentOf("errors"), HasSubstr("device 'unit' has a new identity"));
}

TEST_F(ProviderDaemon, missingAndBrokenFilesAreListedAndReadAgainWhenTheyAreRight)
{
    make("good", "VEL/T;S=1\n");
    make("broken", "<deviceid partNo='3'");
    make("killed", "VEL/T;S=1\n");
    make(".killed.deviceid-new", "VEL/T;S=");
    const auto provider = start(configure(R"(
device = [{ id = 'good', path = '{}/good', form = 'vel' },
          { id = 'broken', path = '{}/broken', form = 'xml' },
          { id = 'gone', path = '{}/gone', form = 'vel', main = true },
          { id = 'killed', path = '{}/killed', form = 'vel' }]
)"));
    EXPECT_FALSE(std::filesystem::exists(path(".killed.deviceid-new")));
    EXPECT_EQ(client().deviceList().size(), 4U);
    const auto connection = sdbus::createSessionBusConnection();
    const auto raw = rawProvider(*connection, "gateway");
    const auto status = [&](const char* id) { return statusOf(*raw, id); };
    EXPECT_EQ(status("gone"), 2);
    EXPECT_EQ(status("broken"), 2);
    EXPECT_EQ(status("good"), 0);
    EXPECT_THAT(contentOf("errors"), HasSubstr("cannot open '" + path("gone") + "': No such file"));
    EXPECT_THAT(contentOf("errors"), HasSubstr(path("broken") + ":1:"));

    make("broken", kProbe);
    EXPECT_EQ(status("broken"), 0);
    make("good", "VEL/T;D=2021\n");
    EXPECT_EQ(status("good"), 2);
    make("good", "VEL/T;S=2");
    EXPECT_EQ(client().deviceIdAsVel(std::string{kIdPrefix} + "good"), "VEL/T;S=2");
    EXPECT_TRUE(client().setDeviceIdFromVel(std::string{kIdPrefix} + "gone", "VEL/T;S=3"));
    EXPECT_EQ(contentOf("gone"), "VEL/T;S=3\n");
    EXPECT_EQ(status("gone"), 0);
}

TEST_F(ProviderDaemon, anIdentityIsWholeAfterTheProgramWasKilledWhileWriting)
{
    const std::string first = "VEL/T;U=" + std::string(3000, 'a');
    const std::string second = "VEL/T;U=" + std::string(5000, 'b');
    make("unit", first + '\n');
    const auto configuration = configure("[[device]]\nid = 'unit'\npath = '{}/unit'\nform = 'vel'\nmain = true\n");
    for (int round = 0; round < 8; ++round)
    {
        const auto provider = start(configuration);
        std::atomic<int> writes = 0;
        std::thread writer{[&]
                           {
                               const std::string id = std::string{kIdPrefix} + "unit";
                               while (client().setDeviceIdFromVel(id, writes % 2 == 0 ? second : first))
                                   ++writes;
                           }};
        while (writes < 2 + round)
            std::this_thread::yield();
        provider->signal(SIGKILL);
        writer.join();
        EXPECT_EQ(provider->wait(), 128 + SIGKILL);
        const auto content = contentOf("unit");
        EXPECT_TRUE(content == first + '\n' || content == second + '\n') << content;
    }
}

TEST_F(ProviderDaemon, endsWithItsDocumentedExitCodes)
{
    const auto endOf = [&](const std::vector<std::string>& arguments) { return run(arguments)->wait(); };
    make("unit", "VEL/T;S=1\n");
    const auto configuration = configure("[[device]]\nid = 'unit'\npath = '{}/unit'\nform = 'vel'\n");
    EXPECT_EQ(endOf({"--help"}), 0);
    EXPECT_EQ(endOf({"--version"}), 0);
    EXPECT_EQ(endOf({}), 2);
    EXPECT_EQ(endOf({"--config", configuration, "--device", "id=x"}), 2);
    EXPECT_EQ(endOf({"--check-config", "--config", configuration}), 0);
    for (const auto* bus : {"none", ""})
        EXPECT_EQ(endOf({"--check-config", "--config", configuration, "--bus", bus}), 2);
    EXPECT_EQ(endOf({"--config", path("missing")}), 2);
    EXPECT_THAT(contentOf("errors"), HasSubstr("cannot open '" + path("missing")));

    const auto provider = start(configuration);
    EXPECT_EQ(endOf({"--config", configuration}), 1);
    EXPECT_THAT(contentOf("errors"), HasSubstr("com.tolvek.orvan.deviceid.gateway is owned by another process"));
    EXPECT_THAT(contentOf("errors"), Not(HasSubstr("the bus has ended")));
    bus().kill();
    EXPECT_EQ(provider->wait(), 1);
    EXPECT_THAT(contentOf("errors"), HasSubstr("the bus has ended"));
    EXPECT_EQ(endOf({"--config", configuration}), 1);
    EXPECT_THAT(contentOf("errors"), HasSubstr("no session bus: is dbus running?"));
}

} // namespace
