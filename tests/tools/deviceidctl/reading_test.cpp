#include "ctl_test.h"

#include <deviceid/vel_conversion.h>

#include <gmock/gmock.h>

namespace
{

using namespace Tests;
using testing::AllOf;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;
using Json = nlohmann::json;

class CtlReading : public CtlTest
{
protected:
    std::unique_ptr<Process> demo_ = provider("demo", {"--vel", "*base-unit=" + kVel, "gone="});
    std::unique_ptr<Process> other_ = provider("other", {"a#b=" + document("300400", "0815"), "odd=<a/>"});
};

TEST_F(CtlReading, listHasARowForEachDeviceWhateverIsWrongWithIt)
{
    const auto list = run({"--session"});
    EXPECT_EQ(list.exitCode, 1);
    EXPECT_EQ(list.errors, "");
    EXPECT_EQ(
        list.output,
        "ID                                        MAIN  PART    SERIAL  NAME       PLACE    DATE\n"
        "com.tolvek.orvan.deviceid.demo#base-unit  *     100200  0042    Base Unit  Plant 7  2021-03-05\n"
        "com.tolvek.orvan.deviceid.demo#gone             ! cannot be read: its provider cannot read it; the log of "
        "the provider says why\n"
        "com.tolvek.orvan.deviceid.other#a#b             300400  0815    Probe      Plant 9  2022-11-30\n"
        "com.tolvek.orvan.deviceid.other#odd             ! its document:1:1: expected the root element "
        "\"deviceid\", found \"a\"\n");
    EXPECT_EQ(run({"list"}).output, list.output) << "the system bus is the default; here it is the same";

    const auto ids = run({"list", "--ids"});
    EXPECT_EQ(ids.exitCode, 0);
    EXPECT_EQ(ids.output, kDemo + "#base-unit\n" + kDemo +
                              "#gone\ncom.tolvek.orvan.deviceid.other#a#b\ncom.tolvek.orvan.deviceid.other#odd\n");

    const auto json = run({"list", "--json"}).json();
    EXPECT_EQ(json["format"], "deviceidctl-list");
    EXPECT_EQ(json["version"], 1);
    EXPECT_EQ(json["bus"], "system");
    EXPECT_EQ(json["devices"].size(), 4U);
    const Json expected{{"id", kDemo + "#base-unit"},
                        {"provider", kDemo},
                        {"main", true},
                        {"identity",
                         {{"partNumber", "100200"},
                          {"serialNumber", "0042"},
                          {"name", "Base Unit"},
                          {"producedAt", "Plant 7"},
                          {"producedOn", "2021-03-05T00:00:00"},
                          {"velType", "T"},
                          {"ecl", "2.10"},
                          {"vel", kVel}}}};
    EXPECT_EQ(json["devices"][0], expected);
    EXPECT_THAT(json["devices"][1]["error"].get<std::string>(), StartsWith("cannot be read"));
    EXPECT_TRUE(json["devices"][2]["identity"]["vel"].is_null());
}

TEST_F(CtlReading, listFitsATerminalAndIsColouredOnlyThere)
{
    const auto onTerminal = [this](const std::string& settings, int columns = 64)
    {
        return shell("script -qec 'stty cols " + std::to_string(columns) + "; " + settings +
                     " deviceidctl' /dev/null | tr -d '\\r'");
    };
    const auto coloured = onTerminal("TERM=xterm");
    EXPECT_THAT(coloured,
                HasSubstr("\x1b[32mdemo#base-unit  *     100200  0042    Base U…  Plant 7  2021-03…\x1b[0m\n"));
    EXPECT_THAT(coloured,
                HasSubstr("\x1b[31mdemo#gone             ! cannot be read: its provider cannot rea…\x1b[0m\n"));
    const auto plain = onTerminal("TERM=xterm NO_COLOR=1");
    EXPECT_THAT(plain, AllOf(HasSubstr("\ndemo#base-unit  *  "), Not(HasSubstr("\x1b"))));
    EXPECT_THAT(onTerminal("TERM=dumb"), Not(HasSubstr("\x1b")));
    EXPECT_THAT(onTerminal("TERM=dumb", 40), AllOf(HasSubstr("ID              MAIN  PART    SERIAL\n"),
                                                   HasSubstr("\ndemo#base-unit  *     100200  0042\n")));
}

TEST_F(CtlReading, showTellsEveryFieldAndWhoServesIt)
{
    const std::string command = kIsEmulated ? kEmulator : "provider_of_test_devices";
    const auto process = "  process        " + std::to_string(demo_->pid()) + " (" + command + ")\n";
    const std::string provider = "  provider       " + kDemo + "\n";
    const auto base = kDemo +
                      "#base-unit\n  main device    yes\n  part number    100200\n  serial number  0042\n"
                      "  name           Base Unit\n  produced at    Plant 7\n  produced on    2021-03-05T00:00:00\n"
                      "  VEL type       T\n  ecl            2.10\n  VEL            " +
                      kVel + "\n" + provider + process;
    EXPECT_EQ(run({"show", "demo#base-unit"}).output, base);
    EXPECT_EQ(run({"show", "--main"}).output, base);
    const auto two = run({"show", "base-unit", "gone"});
    EXPECT_EQ(two.exitCode, 1);
    EXPECT_EQ(two.output, base + "\n" + kDemo +
                              "#gone\n  main device    no\n  error          cannot be read: its provider cannot read "
                              "it; the log of the provider says why\n" +
                              provider + process);
    const auto json = run({"show", "--main", "--json"}).json();
    EXPECT_EQ(json["format"], "deviceidctl-show");
    EXPECT_EQ(json["devices"][0]["process"], (Json{{"pid", demo_->pid()}, {"command", command}}));
    EXPECT_EQ(json["devices"][0]["identity"]["serialNumber"], "0042");
}

TEST_F(CtlReading, getAndMainPrintTheBytesAndNothingElse)
{
    const auto xml = Tolvek::Orvan::DeviceId::velToDeviceIdXml(kVel);
    const std::vector<std::pair<Arguments, std::string>> rows{
        {{"get", kDemo + "#base-unit"}, xml},
        {{"get", "demo#base-unit", "--xml"}, xml},
        {{"get", "base-unit", "--vel"}, kVel},
        {{"main"}, xml},
        {{"main", "--vel"}, kVel},
        {{"get", "other#a#b"}, document("300400", "0815")},
        {{"get", "odd"}, "<a/>"},
    };
    for (const auto& [arguments, output] : rows)
    {
        const auto outcome = run(arguments);
        EXPECT_EQ(outcome.output, output) << arguments.back();
        EXPECT_EQ(outcome.errors, "");
        EXPECT_EQ(outcome.exitCode, 0);
    }
    const auto second = provider("second", {"*base-unit=" + document("1", "2")});
    const auto main = run({"main", "--vel"});
    EXPECT_EQ(main.exitCode, 1);
    EXPECT_EQ(main.output, kVel);
    EXPECT_EQ(main.errors, "deviceidctl: warning: there are 2 main devices, this is the first\n");
}

TEST_F(CtlReading, whatDevicesSayCannotDriveATerminal)
{
    FakeProvider::Behaviour hostile;
    hostile.list = [] { return std::vector<std::string>{"a\x1b[2J\n$(touch x)"}; };
    hostile.read = [](const std::string&)
    {
        return FakeProvider::Answer{
            0,
            "<deviceid partNo='\xC2\x9B\x31m' serialNo='1&#10;2' name='&#x202E;x'><production location='&#9;' "
            "when='2021-03-05T00:00:00'/></deviceid>",
            false};
    };
    const FakeProvider fake{"fake", hostile};
    const auto list = run({}).output;
    EXPECT_THAT(list, HasSubstr("fake#a\\x1b[2J\\n$(touch x)"));
    EXPECT_THAT(list, HasSubstr("\\u009b1m  1\\n2    \\u202ex    \\t"));
    for (const auto& text : {list, run({"check"}).output, run({"show", "fake#a\x1b[2J\n$(touch x)"}).output})
        EXPECT_THAT(text, AllOf(Not(HasSubstr("\x1b")), Not(HasSubstr("\xC2\x9B")), HasSubstr("\\x1b[2J")));
    const auto json = run({"list", "--json"});
    EXPECT_THAT(json.output, AllOf(HasSubstr("\\u009b1m"), HasSubstr("\\u202ex"), Not(HasSubstr("\xC2\x9B"))));
    EXPECT_EQ(json.json()["devices"][2]["identity"]["partNumber"], "\xC2\x9B\x31m");
}

} // namespace
