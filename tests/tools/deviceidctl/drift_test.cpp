#include "ctl_test.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <map>
#include <set>
#include <sstream>

namespace
{

using namespace Tests;
using testing::HasSubstr;
using testing::IsSupersetOf;

/// The long options of each command; those of the program itself under the empty name.
using Table = std::map<std::string, std::set<std::string>>;

constexpr const char* kLetters = "abcdefghijklmnopqrstuvwxyz";

bool startsWith(const std::string& text, const std::string& start)
{
    return text.rfind(start, 0) == 0;
}

/// The long options among words as "-h,--help" or "--timeout S".
std::set<std::string> optionsIn(const std::string& words)
{
    std::set<std::string> options;
    for (auto at = words.find("--"); at != std::string::npos; at = words.find("--", at + 2))
        options.insert(words.substr(at, words.find_first_not_of(std::string{kLetters} + "-", at) - at));
    return options;
}

/// In the help a command is a line of its own, and a line about options begins with them.
Table tableOfHelp(const std::string& help)
{
    Table table;
    std::string command;
    std::istringstream lines{help};
    for (std::string line; std::getline(lines, line);)
    {
        const auto text = line.substr(std::min(line.find_first_not_of(' '), line.size()));
        if (!line.empty() && line.find_first_not_of(kLetters) == std::string::npos)
            table[command = line];
        else if (startsWith(text, "-") && text != line)
            table[command].merge(optionsIn(text.substr(0, text.find(' '))));
    }
    return table;
}

Table tableOfManPage(std::string page)
{
    page.erase(std::remove(page.begin(), page.end(), '\\'), page.end());
    Table table;
    std::string command;
    std::istringstream lines{page.substr(0, page.find(".SH EXIT"))};
    for (std::string line; std::getline(lines, line);)
    {
        if (startsWith(line, ".SS "))
            table[command = line.substr(4, line.find(' ', 4) - 4)];
        else if (startsWith(line, ".B -") || startsWith(line, ".BI -"))
            table[command].merge(optionsIn(line));
    }
    return table;
}

class CtlDrift : public CtlTest
{
protected:
    Table program() const { return tableOfHelp(run({"--help-all"}).output); }

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
    const auto page = Tolvek::Orvan::DeviceId::Tools::readInput(DIST "/man/deviceidctl.1");
    const auto documented = tableOfManPage(page);
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
