#include "deviceid-provider/command_line.h"
#include "deviceid-provider/configuration_file.h"

#include "common/input.h"
#include "support/process.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <iterator>
#include <set>
#include <sstream>
#include <string>
#include <vector>

namespace
{

using namespace Tolvek::Orvan::DeviceId;
using Names = std::set<std::string>;

Names namesOf(const std::vector<Provider::Key>& keys)
{
    Names names;
    for (const auto& key : keys)
        names.emplace(key.name);
    return names;
}

/// The options or keys that stand behind .TP in one section of a manual page.
Names documented(const std::string& page, const std::string& section)
{
    std::istringstream lines{Tools::readInput(DIST "/man/" + page)};
    Names names;
    bool isSection = false;
    std::string previous;
    for (std::string line; std::getline(lines, line); previous = line)
    {
        if (line.rfind(".SH ", 0) == 0)
            isSection = line == ".SH " + section;
        if (!isSection || previous != ".TP")
            continue;
        // Such as: .BR \-c ", " \-\-config " \fIFILE\fR"
        line.erase(std::min({line.find("\\f"), line.find(" = "), line.size()}));
        line.erase(std::remove_if(line.begin(), line.end(), [](char c) { return c == '\\' || c == '"' || c == ','; }),
                   line.end());
        std::istringstream words{line.substr(line.find(' '))};
        names.insert(std::istream_iterator<std::string>{words}, {});
    }
    return names;
}

/// What the completion offers for the last of these words, which are as bash splits them.
Names completed(const std::string& words)
{
    const Tests::Process bash{{"bash", "-c",
                               "source " DIST "/completion/deviceid-provider; COMP_WORDS=(deviceid-provider " + words +
                                   "); COMP_CWORD=$((${#COMP_WORDS[@]} - 1)); _deviceid_provider; "
                                   "echo \"${COMPREPLY[*]}\""}};
    std::istringstream offered{bash.readLine()};
    return {std::istream_iterator<std::string>{offered}, {}};
}

TEST(ProviderDocuments, manualPagesHaveTheOptionsAndKeysOfTheProgram)
{
    const auto options = Provider::optionNames();
    EXPECT_EQ(documented("deviceid-provider.1", "OPTIONS"), Names(options.begin(), options.end()));
    EXPECT_EQ(documented("deviceid-provider.toml.5", "PROGRAM"), namesOf(Provider::programKeys()));
    EXPECT_EQ(documented("deviceid-provider.toml.5", "DEVICES"), namesOf(Provider::deviceKeys()));
    const auto page = Tools::readInput(DIST "/man/deviceid-provider.1");
    for (const int code : {Provider::kSuccess, Provider::kFailure, Provider::kWrongUse})
        EXPECT_THAT(page, testing::HasSubstr(".TP\n" + std::to_string(code) + "\n"));
}

TEST(ProviderDocuments, examplesAreRightConfigurations)
{
    std::vector<Provider::Problem> problems;
    Provider::interpret(Provider::readConfiguration(DIST "/config/example.toml", problems), problems);
    auto page = Tools::readInput(DIST "/man/deviceid-provider.toml.5");
    page = page.substr(page.find(".nf\n") + 4);
    page.erase(std::remove(page.begin(), page.end(), '\\'), page.end());
    const auto example = page.substr(0, page.find(".fi\n"));
    EXPECT_EQ(Provider::interpret(Provider::parseConfiguration(example, "page", problems), problems).devices.size(),
              2U);
    EXPECT_TRUE(problems.empty()) << toString(problems.front());
}

TEST(ProviderDocuments, completionOffersTheOptionsKeysAndValuesOfTheProgram)
{
    Names longOptions;
    for (const auto& name : Provider::optionNames())
    {
        if (name.rfind("--", 0) == 0)
            longOptions.insert(name);
    }
    EXPECT_EQ(completed("-"), longOptions);
    EXPECT_EQ(completed("--bus s"), (Names{"system", "session"}));
    EXPECT_EQ(completed("--check-config --c"), (Names{"--check-config", "--config"}));

    Names settings;
    for (const auto& key : Provider::deviceKeys())
        settings.insert(std::string{key.name} + (key.values == "true|false" ? "" : "="));
    EXPECT_EQ(completed("--device ''"), settings);
    EXPECT_EQ(completed("--device = ''"), settings);
    EXPECT_EQ(completed("--device id = a,path = x,ki"), Names{"x,kind="});
    for (const auto& [prefix, keys] :
         {std::pair{"--", Provider::programKeys()}, std::pair{"--device id = x,", Provider::deviceKeys()}})
    {
        for (const auto& key : keys)
        {
            const auto offered = completed(prefix + std::string{key.name} + " =");
            const auto bar = key.values.find('|');
            if (bar == std::string_view::npos)
                continue;
            EXPECT_EQ(offered, (Names{std::string{key.values.substr(0, bar)}, std::string{key.values.substr(bar + 1)}}))
                << key.name;
        }
    }
}

} // namespace
