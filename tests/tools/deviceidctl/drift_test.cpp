#include "ctl_test.h"

#include <gmock/gmock.h>

#include <map>
#include <regex>
#include <set>
#include <sstream>

namespace
{

using namespace Tests;
using testing::HasSubstr;
using testing::IsSupersetOf;

/// The long options of each command; those of the program itself under the empty name.
using Table = std::map<std::string, std::set<std::string>>;

std::set<std::string> optionsIn(const std::string& line)
{
    static const std::regex option{"--[a-z-]+"};
    return {std::sregex_token_iterator{line.begin(), line.end(), option}, {}};
}

/// Goes through lines: `command` finds the name of a command, `options` tells whether a line declares options.
Table readTable(const std::string& text, const std::regex& command, const std::regex& options)
{
    Table table;
    std::string current;
    std::istringstream lines{text};
    for (std::string line; std::getline(lines, line);)
    {
        std::smatch match;
        if (std::regex_search(line, match, command))
            table[current = match[1]];
        else if (std::regex_search(line, match, options))
            table[current].merge(optionsIn(match[1]));
    }
    return table;
}

class CtlDrift : public CtlTest
{
protected:
    Table program() const
    {
        return readTable(run({"--help-all"}).output, std::regex{"^([a-z]+)$"}, std::regex{"^ +(-[-a-z,]+)"});
    }

    /// What the completion offers for the last of these words, as one word a line.
    std::set<std::string> completed(const std::string& words) const
    {
        const auto offered = shell("source " DIST "/completion/deviceidctl; COMP_WORDS=(deviceidctl " + words +
                                   "); COMP_CWORD=$((${#COMP_WORDS[@]} - 1)); _deviceidctl; "
                                   "((${#COMPREPLY[@]})) && printf '%s\\n' \"${COMPREPLY[@]}\"");
        std::istringstream lines{offered};
        std::set<std::string> set;
        for (std::string line; std::getline(lines, line);)
            set.insert(line);
        return set;
    }
};

TEST_F(CtlDrift, manPageHasTheOptionsOfTheProgram)
{
    const auto page = std::regex_replace(Tolvek::Orvan::DeviceId::Tools::readInput(DIST "/man/deviceidctl.1"),
                                         std::regex{R"(\\-)"}, "-");
    const auto documented =
        readTable(page.substr(0, page.find(".SH EXIT")), std::regex{"^\\.SS ([a-z]+)"}, std::regex{"^\\.BI? (-.*)"});
    EXPECT_GE(program().size(), 11U);
    EXPECT_EQ(documented, program());
    for (const auto* const code : {"\n0\n", "\n1\n", "\n2\n", "\n3\n", "\n4\n", "\n64\n"})
        EXPECT_THAT(page, HasSubstr(std::string{".TP"} + code));
}

TEST_F(CtlDrift, completionOffersTheOptionsOfTheProgram)
{
    auto table = program();
    const auto global = table.at("");
    table.erase("");
    std::set<std::string> commands;
    EXPECT_EQ(completed("-"), global);
    for (const auto& [command, options] : table)
    {
        commands.insert(command);
        auto expected = options;
        expected.insert(global.begin(), global.end());
        expected.erase("--version");
        EXPECT_EQ(completed(command + " -"), expected) << command;
    }
    EXPECT_EQ(completed("''"), commands);
    EXPECT_EQ(completed("--json conv"), std::set<std::string>{"convert"});
    EXPECT_EQ(completed("convert x --to ''"), (std::set<std::string>{"vel", "xml"}));
}

TEST_F(CtlDrift, completionOffersDevicesAndRunsNothingThatTheySay)
{
    const auto demo = provider("demo", {"base-unit=1", "$(touch touched)`touch touched`=1"});
    EXPECT_EQ(completed("--session get ba"), std::set<std::string>{});
    EXPECT_EQ(completed("--session get demo#b"), std::set<std::string>{"demo#base-unit"});
    EXPECT_EQ(completed("show com.tolvek.orvan.deviceid.demo#b"), std::set<std::string>{kDemo + "#base-unit"});
    EXPECT_EQ(completed("get ''"),
              (std::set<std::string>{"demo#base-unit", R"(demo#\$\(touch\ touched\)\`touch\ touched\`)"}));
    EXPECT_THAT(completed("set demo#base-unit ''"), IsSupersetOf({std::string{"out"}}));
    EXPECT_THAT(shell("ls"), testing::Not(HasSubstr("touched")));
}

} // namespace
