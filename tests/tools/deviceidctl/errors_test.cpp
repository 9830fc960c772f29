#include "ctl_test.h"

#include <gmock/gmock.h>

#include <cstdlib>

namespace
{

using namespace Tests;
using testing::HasSubstr;
using testing::StartsWith;
using Json = nlohmann::json;

using CtlErrors = CtlTest;

TEST_F(CtlErrors, areOneLineWithWhatToDoAndAnExitCode)
{
    const auto demo = provider("demo", {"d=1", "x=1"});
    const auto other = provider("other", {"d=1", "*m=" + document("1", "2")});
    const std::vector<std::tuple<Arguments, int, std::string, std::string>> rows{
        {{"get", "none"}, 4, "not-found", "no device none on the system bus; 'list' shows all devices"},
        {{"get", "--session", "x#y"}, 4, "not-found", "no device x#y: no provider x on the session bus; 'list'"},
        {{"get", "demo#y"}, 4, "not-found", "cannot read " + kDemo + "#y: its provider does not have it; 'list'"},
        {{"get", "d"},
         4,
         "ambiguous",
         "d is ambiguous; give one of " + kDemo + "#d, com.tolvek.orvan.deviceid.other#d"},
        {{"get", "m", "--vel"}, 2, "no-vel", "No VEL found in the DeviceID XML; get it as XML, without --vel"},
        {{"show"}, 64, "usage", "show needs the id of a device or --main (deviceidctl --help tells the usage)"},
        {{"show", "d", "--main"}, 64, "usage", "excludes"},
        {{"get"}, 64, "usage", "ID is required"},
        {{"frob"}, 64, "usage", "not expected: frob"},
        {{"--system", "--session"}, 64, "usage", "excludes"},
        {{"get", "d", "--xml", "--vel"}, 64, "usage", "excludes"},
        {{"wait", "--timeout", "-1"}, 64, "usage", "--timeout needs a number of seconds"},
        {{"wait", "--timeout", "nan"}, 64, "usage", "--timeout needs a number of seconds"},
        {{"wait", "--timeout", "soon"}, 64, "usage", "soon"},
    };
    for (const auto& [arguments, exitCode, kind, message] : rows)
    {
        const auto text = run(arguments);
        EXPECT_EQ(text.exitCode, exitCode) << message;
        EXPECT_THAT(text.errors, StartsWith("deviceidctl: ")) << message;
        EXPECT_THAT(text.errors, HasSubstr(message));
        EXPECT_EQ(std::count(text.errors.begin(), text.errors.end(), '\n'), 1) << text.errors;
        EXPECT_EQ(text.output, "");

        auto withJson = arguments;
        withJson.insert(withJson.begin(), "--json");
        const auto json = Json::parse(run(withJson).errors);
        EXPECT_EQ(json["format"], "deviceidctl-error");
        EXPECT_EQ(json["kind"], kind);
        EXPECT_EQ(json["exitCode"], exitCode);
        EXPECT_THAT(json["message"].get<std::string>(), HasSubstr(message));
    }
}

TEST_F(CtlErrors, aMissingBusIsNamed)
{
    setenv("DBUS_SYSTEM_BUS_ADDRESS", "unix:path=/nowhere/bus", 1);
    unsetenv("DBUS_SESSION_BUS_ADDRESS");
    unsetenv("XDG_RUNTIME_DIR");
    const auto system = run({"list"});
    EXPECT_EQ(system.exitCode, 2);
    EXPECT_EQ(system.errors, "deviceidctl: no bus at unix:path=/nowhere/bus: is dbus running?\n");
    EXPECT_THAT(run({"--session", "check"}).errors, HasSubstr("DBUS_SESSION_BUS_ADDRESS is not set"));
    setenv("DBUS_SYSTEM_BUS_ADDRESS", bus().address().c_str(), 1);
    bus().kill();
    EXPECT_EQ(run({"get", "a#b"}).errors, "deviceidctl: no bus at " + bus().address() + ": is dbus running?\n");
}

TEST_F(CtlErrors, emptyBusAndFullDiskAndLogLines)
{
    EXPECT_EQ(run({}).errors, "deviceidctl: no devices on the system bus: is a provider running?\n");
    EXPECT_EQ(run({}).exitCode, 0);
    EXPECT_EQ(run({"list", "--json"}).json()["devices"], Json::array());
    EXPECT_EQ(run({"main"}).errors, "deviceidctl: no main device; 'list' shows all devices\n");
    EXPECT_EQ(shell("deviceidctl --help >/dev/full; echo $?"),
              "deviceidctl: cannot write the output: No space left on device\n2\n");
    EXPECT_EQ(run({"-v"}).errors.find("log 5"), std::string::npos);
    EXPECT_THAT(run({"list", "-vvvv"}).errors,
                HasSubstr("log 5 Tolvek::Orvan::DeviceId::DbusDiscoverer: Discovering d-bus services"));
}

} // namespace
