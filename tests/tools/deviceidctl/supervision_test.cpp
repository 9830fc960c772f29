#include "ctl_test.h"

#include <gmock/gmock.h>

#include <set>

namespace
{

using namespace Tests;
using testing::HasSubstr;
using testing::MatchesRegex;
using Json = nlohmann::json;

class CtlSupervision : public CtlTest
{
protected:
    /// The findings that are not "ok", as "severity rule subject".
    std::set<std::string> complaints(int expectedExitCode) const
    {
        const auto outcome = run({"check", "--json"});
        EXPECT_EQ(outcome.exitCode, expectedExitCode) << outcome.output << outcome.errors;
        const std::vector<std::string> results{"ok", "warning", "error"};
        const auto json = outcome.json();
        EXPECT_EQ(json["result"], results.at(static_cast<std::size_t>(expectedExitCode)));
        std::set<std::string> found;
        for (const auto& finding : json["findings"])
        {
            auto subject = finding["subject"].get<std::string>();
            const std::string prefix = "com.tolvek.orvan.deviceid.";
            subject.erase(0, subject.rfind(prefix, 0) == 0 ? prefix.size() : 0);
            if (finding["severity"] != "ok")
                found.insert(finding["severity"].get<std::string>() + " " + finding["rule"].get<std::string>() + " " +
                             subject);
        }
        return found;
    }
};

TEST_F(CtlSupervision, checkIsContentWithASoundBus)
{
    const auto demo = provider("demo", {"--vel", "*base-unit=" + kVel});
    const auto other = provider("other", {"probe=" + document("7", "8"), "twin=" + document("7", "9")});
    EXPECT_EQ(complaints(0), std::set<std::string>{});
    const auto text = run({"check"});
    EXPECT_EQ(text.exitCode, 0);
    EXPECT_THAT(text.output, MatchesRegex("ok       com.tolvek.orvan.deviceid.demo: answers in [0-9.]+ ms, 1 device\n"
                                          "(ok       .*\n)+"
                                          "ok       com.tolvek.orvan.deviceid.demo#base-unit: is the main device\n"
                                          "0 errors, 0 warnings\n"));
    const auto json = run({"check", "--json"}).json();
    EXPECT_EQ(json["providers"][1]["devices"], 2);
    EXPECT_TRUE(json["devices"][2]["replyMs"].is_number_float());
}

TEST_F(CtlSupervision, checkFindsEachThingThatIsWrong)
{
    using Set = std::set<std::string>;
    EXPECT_EQ(complaints(2), (Set{"error providers bus", "error main-device bus"}));

    const auto a = provider("a", {"*d=" + document("1", "1"), "empty=" + document("", "")});
    EXPECT_EQ(complaints(1), (Set{"warning part-number a#empty", "warning serial-number a#empty"}));

    const auto b = provider("b", {"*d=" + document("1", "1"), "e=" + document("2", "1"), "f=<a/>"});
    const auto failing = faultyPeer("com.tolvek.orvan.deviceid.c", "failing-calls");
    const auto silent = faultyPeer("com.tolvek.orvan.deviceid.s", "silent");
    const auto refusing = faultyPeer("com.tolvek.orvan.deviceid.err", "error");
    const auto foreign = faultyPeer("org.example.Silent", "silent");
    const auto brokenVel = provider("v", {"--vel", "d=VEL/", "g="});
    FakeProvider::Behaviour repeating;
    repeating.list = [] { return std::vector<std::string>{"d", "d"}; };
    repeating.read = [](const std::string&) { return FakeProvider::Answer{0, document("5", "6"), false}; };
    const FakeProvider twice{"twice", repeating, {kObjectPath, "/com/tolvek/orvan/second"}};
    EXPECT_EQ(complaints(2),
              (Set{"warning part-number a#empty", "warning serial-number a#empty", "error main-device bus",
                   "error duplicate a#d", "warning duplicate a#d", "error reads b#f", "error answers c",
                   "error answers err", "error answers s", "warning answers org.example.Silent",
                   "warning part-number v#d", "warning serial-number v#d", "error reads v#g", "error ambiguous twice",
                   "error ambiguous twice#d", "error duplicate twice#d"}));
    EXPECT_THAT(run({"list"}).output, HasSubstr("com.tolvek.orvan.deviceid.c              ! does not tell its devices: "
                                                "[com.example.Broken] every call fails\n"));
}

TEST_F(CtlSupervision, diffTellsWhatHasChangedSinceAList)
{
    auto demo = provider("demo", {"--vel", "*base-unit=" + kVel, "gone=VEL/T;S=1"});
    auto other = provider("other", {"odd=<a/>", "role=" + document("1", "1")});
    const auto before = run({"list", "--json"}).output;
    EXPECT_EQ(run({"diff", "-"}, before).output, "");
    EXPECT_EQ(run({"diff", "-"}, before).exitCode, 0);

    demo.reset();
    other.reset();
    auto vel = kVel;
    vel.replace(vel.find("0042"), 4, "0043");
    demo = provider("demo", {"--vel", "base-unit=" + vel, "new=VEL/T;S=2"});
    other = provider("other", {"odd=" + document("1", "3"), "*role=<a/>"});
    const auto text = run({"diff", "in"}, before);
    EXPECT_EQ(text.exitCode, 1);
    EXPECT_EQ(text.output, "changed  " + kDemo + "#base-unit\n         serial 0042 → 0043\n" +
                               "         is no longer the main device\n" + "removed  " + kDemo + "#gone\n" +
                               "added    " + kDemo + "#new\n" +
                               "changed  com.tolvek.orvan.deviceid.other#odd\n         can be read now\n"
                               "changed  com.tolvek.orvan.deviceid.other#role\n         is the main device now\n"
                               "         can no longer be read: its document:1:1: expected the root element "
                               "\"deviceid\", found \"a\"\n");
    const auto json = run({"diff", "in", "--json"}, before).json();
    EXPECT_EQ(json["format"], "deviceidctl-diff");
    EXPECT_EQ(json["added"], Json::array({kDemo + "#new"}));
    EXPECT_EQ(json["removed"], Json::array({kDemo + "#gone"}));
    EXPECT_EQ(json["changed"][0]["fields"][0],
              (Json{{"field", "serialNumber"}, {"before", "0042"}, {"after", "0043"}}));

    for (const std::string wrong : {"", "[]", R"({"format":"deviceidctl-show"})", R"({"format":"deviceidctl-list"})",
                                    R"({"format":"deviceidctl-list","version":2,"devices":[]})",
                                    R"({"format":"deviceidctl-list","version":1,"devices":[{"id":1}]})"})
    {
        const auto outcome = run({"diff", "-"}, wrong);
        EXPECT_EQ(outcome.exitCode, 3) << wrong;
        EXPECT_THAT(outcome.errors, HasSubstr("standard input: expected what deviceidctl list --json prints: "));
    }
}

TEST_F(CtlSupervision, aSilentProviderIsNotTakenForAnAbsentOne)
{
    const auto nothing = run({"list", "--json"}).output;
    const auto silent = faultyPeer("com.tolvek.orvan.deviceid.s", "silent");
    const std::string passedOver = "com.tolvek.orvan.deviceid.s was passed over: ";
    const std::vector<std::tuple<Arguments, int>> rows{
        {{"list", "--ids"}, 1}, {{"list", "--json"}, 1}, {{"diff", "in", "--json"}, 1},
        {{"get", "s#x"}, 2},    {{"get", "x"}, 4},
    };
    for (const auto& [arguments, exitCode] : rows)
    {
        const auto outcome = run(arguments, nothing);
        EXPECT_EQ(outcome.exitCode, exitCode) << outcome.errors;
        EXPECT_THAT(outcome.errors, HasSubstr(passedOver));
        if (arguments.back() == "--json")
        {
            EXPECT_EQ(outcome.json()["passedOver"][0]["name"], "com.tolvek.orvan.deviceid.s");
        }
    }
    const auto set = run({"set", "s#x", "-", "--json"}, kVel);
    EXPECT_EQ(set.exitCode, 2);
    EXPECT_EQ(Json::parse(set.errors)["kind"], "no-reply");
}

TEST_F(CtlSupervision, waitEndsWhenTheDeviceCanBeReadOrTheTimeIsOver)
{
    const auto late = start({"wait", "demo#base-unit"});
    const auto demo = provider("demo", {"--vel", "*base-unit=" + kVel});
    EXPECT_EQ(finish(*late).exitCode, 0);
    EXPECT_EQ(run({"wait"}).exitCode, 0);
    EXPECT_EQ(run({"wait", "--main", "--timeout", "60"}).exitCode, 0);

    const auto timeOut = run({"wait", "probe", "--timeout", "0.05"});
    EXPECT_EQ(timeOut.exitCode, 4);
    EXPECT_EQ(timeOut.errors, "deviceidctl: probe could not be read in time: is its provider running?\n");
    const auto second = provider("second", {"base-unit=<a/>"});
    EXPECT_THAT(run({"wait", "base-unit"}).errors, HasSubstr("base-unit is ambiguous; give one of " + kDemo));

    // Silent for much longer than the user is willing to wait.
    const auto stuck = provider("stuck", {"--faulty"});
    const auto json = run({"wait", "stuck#waits", "--timeout", "0.3", "--json"});
    EXPECT_EQ(json.exitCode, 4);
    EXPECT_EQ(Json::parse(json.errors)["kind"], "time-out");
    stuck->signal(SIGUSR1);
}

} // namespace
