#include "ctl_test.h"

#include <gmock/gmock.h>

#include <future>
#include <mutex>

namespace
{

using namespace Tests;
using testing::HasSubstr;
using testing::StartsWith;

const std::string kNewVel = "VEL/T;U=Base Unit;P=100200;S=0043;L=Plant 7;D=2021-03-05;E=2.10";

class CtlWriting : public CtlTest
{
protected:
    /// A write that is interrupted while the provider is at it, with what was set for interrupts at the start.
    Outcome interruptedWrite(void (*disposition)(int)) const
    {
        std::promise<void> writing;
        std::promise<void> over;
        FakeProvider::Behaviour stuck;
        stuck.read = [](const std::string&) { return FakeProvider::Answer{0, document("1", "2"), false}; };
        stuck.write = [&](const std::string&, const std::string&)
        {
            writing.set_value();
            over.get_future().wait();
            return 0;
        };
        const FakeProvider fake{"fake", stuck};
        const auto before = std::signal(SIGINT, disposition);
        const auto process = start({"set", "fake#d", "-"}, document("1", "2"));
        static_cast<void>(std::signal(SIGINT, before));
        writing.get_future().wait();
        process->signal(SIGINT);
        if (disposition == SIG_IGN)
            over.set_value();
        auto outcome = finish(*process);
        if (disposition != SIG_IGN)
            over.set_value();
        return outcome;
    }

    std::unique_ptr<Process> demo_ = provider("demo", {"--vel", "*base-unit=" + kVel});
    std::unique_ptr<Process> other_ = provider("other", {"probe=" + document("1", "2"), "odd=<a/>"});
};

TEST_F(CtlWriting, setWritesAndReportsFieldByField)
{
    const std::vector<std::tuple<Arguments, std::string, std::string>> rows{
        {{"set", "base-unit", "-", "--dry-run"}, kNewVel + "\n", "#base-unit would change:\n  serial 0042 → 0043\n"},
        {{"set", "base-unit", "-", "--vel"}, kNewVel + "\n", "#base-unit changed:\n  serial 0042 → 0043\n"},
        {{"set", "base-unit", "-"}, kNewVel, "#base-unit: nothing changed\n"},
        {{"set", "base-unit", "in"},
         "VEL/T;X=1;U=Base Unit;P=100200;S=0043;L=Plant 7;D=2021-03-05;E=2.10",
         "#base-unit changed:\n  VEL VEL/T;U="},
        {{"set", "probe", "-"}, document("1", ""), "#probe changed:\n  serial 2 → (empty)\n"},
        {{"set", "probe", "-", "--xml"}, document("\n", "3"), "#probe changed:\n  part 1 →  \n  serial (empty) → 3\n"},
        {{"set", "odd", "-"}, kVel, "#odd changed:\n  before: its document:1:1: expected"},
    };
    for (const auto& [arguments, input, report] : rows)
    {
        const auto outcome = run(arguments, input);
        EXPECT_THAT(outcome.output, HasSubstr(report)) << input;
        EXPECT_EQ(outcome.errors, "") << input;
        EXPECT_EQ(outcome.exitCode, 0) << input;
    }
    EXPECT_EQ(run({"get", "odd", "--vel"}).output, kVel);
    EXPECT_EQ(run({"get", "probe"}).output, document("\n", "3"));
}

TEST_F(CtlWriting, nothingIsWrittenUnlessTheInputIsAnIdentity)
{
    const std::vector<std::tuple<Arguments, std::string, std::string>> rows{
        {{"set", "probe", "-"}, "", "standard input: byte 0: expected \"VEL/\" or an XML document"},
        {{"set", "probe", "-"}, "VEL/T;D=1", "standard input: field D, byte 8: expected a calendar date"},
        {{"set", "probe", "-", "--xml"}, kVel, "standard input:1:4: expected well-formed XML"},
        {{"set", "probe", "-", "--vel"}, document("1", "2"), "standard input: start, byte 0: expected \"VEL/\""},
        {{"set", "probe", "in"}, "<deviceid\n partNo='1'/>", "in:1:1: field serialNo: expected exactly one attribute"},
        {{"set", "probe", "none"}, "", "cannot read none: No such file or directory"},
        {{"set", "probe", "-"}, std::string(2'000'000, ' '), "it has more than 1048576 bytes"},
    };
    for (const auto& [arguments, input, error] : rows)
    {
        const auto outcome = run(arguments, input);
        EXPECT_EQ(outcome.exitCode, 3) << error;
        EXPECT_THAT(outcome.errors, HasSubstr(error));
        EXPECT_EQ(outcome.output, "");
    }
    EXPECT_EQ(run({"get", "probe"}).output, document("1", "2"));
}

// What a VEL device is told beside the VEL string is lost; the provider says that all is well.
TEST_F(CtlWriting, aDeviceThatStoresSomethingElseIsAnError)
{
    auto xml = run({"get", "base-unit"}).output;
    xml.replace(xml.find("partNo=\"100200\""), 15, "partNo=\"999999\"");
    const auto outcome = run({"set", "base-unit", "-"}, xml);
    EXPECT_EQ(outcome.exitCode, 2);
    EXPECT_EQ(outcome.errors,
              "deviceidctl: warning: standard input: field partNo: the document says \"999999\", the VEL "
              "string in it \"100200\"\ndeviceidctl: written, but " +
                  kDemo + "#base-unit reads otherwise: part 999999 → 100200\n");
}

TEST_F(CtlWriting, refusalsSayWhatToDo)
{
    const auto denied = []() -> std::int32_t { throw sdbus::Error{"org.freedesktop.DBus.Error.AccessDenied", "no"}; };
    const std::vector<std::tuple<std::function<std::int32_t()>, int, std::string>> rows{
        {denied, 2, "not allowed: only root and members of the group deviceid may write"},
        {[]() -> std::int32_t {
             throw sdbus::Error{"org.freedesktop.DBus.Error.NoReply", "no"};
         },
         2, "it has its old identity or the new one, 'show' tells which"},
        {[] { return 1; }, 4, "its provider does not have it any more"},
        {[] { return 2; }, 2, "its provider could not store it; is it read-only"},
        {[] { return 7; }, 2, "cannot write com.tolvek.orvan.deviceid.fake#d: the call failed"},
        {[] { return 0; }, 2, "reads otherwise: part 100200 → 1"},
    };
    for (const auto& [answer, exitCode, error] : rows)
    {
        FakeProvider::Behaviour behaviour;
        behaviour.read = [](const std::string&) { return FakeProvider::Answer{0, document("1", "2"), false}; };
        behaviour.write = [answer = answer](const std::string&, const std::string&) { return answer(); };
        const FakeProvider fake{"fake", behaviour};
        const auto outcome = run({"set", "fake#d", "-"}, kVel);
        EXPECT_EQ(outcome.exitCode, exitCode) << error;
        EXPECT_THAT(outcome.errors, HasSubstr(error));
        EXPECT_EQ(outcome.output, "");
    }
    EXPECT_EQ(run({"set", "demo#none", "-"}, kVel).exitCode, 4);

    const FakeProvider twice{"twice", {}, {kObjectPath, "/com/tolvek/orvan/second"}};
    EXPECT_THAT(run({"set", "twice#d", "-"}, kVel).errors, StartsWith("deviceidctl: nothing written: "));
}

TEST_F(CtlWriting, anInterruptedWriteSaysThatItIsUndecided)
{
    const auto outcome = interruptedWrite(SIG_DFL);
    EXPECT_EQ(outcome.exitCode, 128 + SIGINT);
    EXPECT_EQ(outcome.output, "");
    EXPECT_EQ(outcome.errors,
              "\ndeviceidctl: interrupted: com.tolvek.orvan.deviceid.fake#d has its old identity or the "
              "new one; deviceidctl show tells which\n");
}

TEST_F(CtlWriting, aWriteEndsInPeaceIfInterruptsAreIgnored)
{
    if (kIsEmulated)
        GTEST_SKIP() << "the emulator interrupts calls for ignored signals, too";
    const auto outcome = interruptedWrite(SIG_IGN);
    EXPECT_EQ(outcome.exitCode, 0);
    EXPECT_EQ(outcome.output, "com.tolvek.orvan.deviceid.fake#d: nothing changed\n");
    EXPECT_EQ(outcome.errors, "");
}

} // namespace
