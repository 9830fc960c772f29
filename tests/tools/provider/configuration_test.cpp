#include "deviceid-provider/command_line.h"
#include "deviceid-provider/configuration_file.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <optional>
#include <string>
#include <vector>

namespace
{

using namespace Tolvek::Orvan::DeviceId::Provider;
using testing::ElementsAreArray;

std::vector<std::string> textsOf(const std::vector<Problem>& problems)
{
    std::vector<std::string> texts{problems.size()};
    std::transform(problems.begin(), problems.end(), texts.begin(), toString);
    return texts;
}

Configuration configurationOfText(const std::string& text, std::vector<Problem>& problems)
{
    auto given = parseConfiguration(text, "f", problems);
    return problems.empty() ? interpret(given, problems) : Configuration{};
}

Configuration configurationOfArguments(std::vector<const char*> arguments, std::vector<Problem>& problems)
{
    arguments.insert(arguments.begin(), "deviceid-provider");
    std::optional<int> exitCode;
    const auto line = parseCommandLine(static_cast<int>(arguments.size()), arguments.data(), exitCode);
    EXPECT_EQ(exitCode, std::nullopt);
    return configurationOf(line, problems);
}

TEST(Configuration, eachProblemIsToldWithLineAndKey)
{
    const std::string rest = "[[device]]\nid = 'x'\npath = '/x'\nform = 'xml'\n";
    const std::string valid = "service-name = 'a'\n" + rest;
    struct Case
    {
        std::string text;
        std::vector<std::string> problems;
    };
    const std::string choices = R"(; expected "system" or "session")";
    const std::string name = "the last part of the bus name: letters, digits, '_' and '-', not beginning with a digit; "
                             "several such parts are separated by dots";
    const std::string deviceKeys = "there is no such key; expected one of id, path, form, kind, main, read-only";
    const std::vector<Case> cases{
        {valid, {}},
        {rest, {"f:1: service-name: is missing; expected " + name}},
        {"service-name = '9a'\n" + rest, {"f:1: service-name: \"9a\" cannot be " + name}},
        {"service-name = 'a..b'\n" + rest, {"f:1: service-name: \"a..b\" cannot be " + name}},
        {"service-name = 'a/b'\n" + rest, {"f:1: service-name: \"a/b\" cannot be " + name}},
        {"service-name = 'a.'\n" + rest, {"f:1: service-name: \"a.\" cannot be " + name}},
        {"service-name = '" + std::string(230, 'a') + "'\n" + rest,
         {"f:1: service-name: \"" + std::string(230, 'a') + "\" cannot be " + name}},
        {"bus = 3\n" + valid, {"f:1: bus: expected \"system\" or \"session\""}},
        {"bus = 'user'\n" + valid, {"f:1: bus: \"user\" is neither of them" + choices}},
        {"\nlogs = 'files'\n" + valid, {"f:2: logs: there is no such key; expected one of service-name, bus, log"}},
        {"service-name = 'a'\n", {"f:1: device: there is none; expected at least one"}},
        {"service-name = 'a'\ndevice = 'x'\n", {"f:2: device: expected tables [[device]]"}},
        {"service-name = 'a'\ndevice = ['x']\n", {"f:2: device: expected tables [[device]]"}},
        {"service-name = 'a'\nservice-name = 'b'\n",
         {"f:2: Error while parsing key-value pair: cannot redefine "
          "existing string 'service-name'"}},
        {"service-name = 'a'\n[[device]]\n",
         {"f:2: device[0].id: is missing; expected the id of the device",
          "f:2: device[0].path: is missing; expected the file that holds the identity",
          "f:2: device[0].form: is missing; expected \"vel\" or \"xml\""}},
        {valid + "mian = true\nmain = 1\nread-only = 'yes'\n",
         {"f:6: device[0].mian: " + deviceKeys, "f:7: device[0].main: expected true or false",
          "f:8: device[0].read-only: expected true or false"}},
        {valid + "[[device]]\nid = \"x\\ty\"\npath = 'x'\nform = 'XML'\nkind = 'disk'\n",
         {"f:9: device[1].form: \"XML\" is neither of them; expected \"vel\" or \"xml\"",
          "f:10: device[1].kind: \"disk\" is neither of them; expected \"file\" or \"eeprom\"",
          "f:7: device[1].id: has control characters",
          "f:8: device[1].path: \"x\" is not the path of a file from the root on"}},
        {valid + "[[device]]\nid = ''\npath = \"/a\\u0000b\"\nform = 'xml'\n",
         {"f:7: device[1].id: is empty; expected the id of the device", "f:8: device[1].path: has control characters"}},
        {valid + "main = true\n[[device]]\nmain = true\nid = 'x'\npath = '//x'\nform = 'xml'\n",
         {"f:9: device[1].id: device[0] has \"x\" already", "f:10: device[1].path: device[0] has \"/x\" already",
          "f:8: device[1].main: device[0] has this mark already"}},
    };
    for (const auto& [text, expected] : cases)
    {
        SCOPED_TRACE(text);
        std::vector<Problem> problems;
        configurationOfText(text, problems);
        EXPECT_THAT(textsOf(problems), ElementsAreArray(expected));
    }
}

TEST(Configuration, fileAndCommandLineSayTheSame)
{
    std::vector<Problem> problems;
    const auto fromFile = configurationOfText(R"(
service-name = "plant.line-2"
bus = "session"
log = "stderr"
[[device]]
id = "base, unit"
path = "/srv/a=b\\c"
form = "vel"
main = true
[[device]]
id = "board"
path = "/sys/eeprom"
form = "xml"
kind = "eeprom"
main = false
read-only = true
)",
                                              problems);
    const auto fromLine =
        configurationOfArguments({"--service-name", "plant.line-2", "--bus=session", "--log", "stderr", "--device",
                                  R"(id=base\, unit,path=/srv/a=b\\c,form=vel,main)", "--device",
                                  "id=board,path=/sys/eeprom,form=xml,kind=eeprom,main=false,read-only"},
                                 problems);
    EXPECT_THAT(textsOf(problems), testing::IsEmpty());
    for (const auto& configuration : {fromFile, fromLine})
    {
        EXPECT_EQ(configuration.serviceName, "plant.line-2");
        EXPECT_EQ(configuration.bus, BusType::Session);
        EXPECT_EQ(configuration.log, LogTarget::StandardError);
        EXPECT_TRUE(
            configuration.devices ==
            (std::vector<DeviceSettings>{{"base, unit", "/srv/a=b\\c", Form::Vel, Kind::ByFileSystem, true, false},
                                         {"board", "/sys/eeprom", Form::Xml, Kind::Memory, false, true}}));
    }

    configurationOfArguments({"--service-name", "a", "--device", "id=x,id=y,path,form=vel,main=yes,frob"}, problems);
    const std::string place = "--device id=x,id=y,path,form=vel,main=yes,frob: device[0].";
    EXPECT_THAT(textsOf(problems),
                testing::UnorderedElementsAre(
                    place + "id: is there twice", place + "path: expected the file that holds the identity",
                    place + "main: expected true or false",
                    place + "frob: there is no such key; expected one of id, path, form, kind, main, read-only"));
}

} // namespace
