// What has a target: hostile documents, and what needs a bus and peers, measured against baselines on bare sd-bus, on
// private buses of its own.
//
//     bus_bench [--quick] [--json FILE] [SCENARIO...]

#include "scenarios.h"

#include <logger/configuration.h>

#include <fmt/core.h>

#include <cstdlib>
#include <fstream>
#include <functional>
#include <set>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

namespace
{

using namespace Bench;

constexpr Effort kFull{41, 10'000};
constexpr Effort kQuick{5, 500};

struct Options
{
    Effort effort = kFull;
    std::string jsonFile;
    std::set<std::string> scenarios;
};

Options optionsFrom(const std::vector<std::string>& arguments)
{
    Options options;
    for (std::size_t i = 0; i < arguments.size(); ++i)
    {
        if (arguments[i] == "--quick")
            options.effort = kQuick;
        else if (arguments[i] == "--json" && i + 1 < arguments.size())
            options.jsonFile = arguments[++i];
        else
            options.scenarios.insert(arguments[i]);
    }
    return options;
}

const std::vector<std::pair<std::string, Findings (*)(const Effort&)>>& scenarios()
{
    static const std::vector<std::pair<std::string, Findings (*)(const Effort&)>> all{
        {"hostile", measureHostileDocuments}, {"discovery", measureDiscovery},      {"curve", measureCurve},
        {"fat-peer", measureFatPeer},         {"idle-clients", measureIdleClients}, {"stopped", measureStoppedPeers},
        {"provider", measureProviderLoad},    {"many-clients", measureManyClients}, {"endurance", measureEndurance},
        {"start-up", measureStartUp},
    };
    return all;
}

void print(const Finding& finding)
{
    fmt::print("{:<58} {:>8.2f}   {} {:<5} {}\n", finding.what, finding.value,
               finding.atMost ? "<=" : ">=", finding.target, finding.isMet() ? "" : "MISSED");
}

void run(const Options& options)
{
    auto results = nlohmann::json::array();
    for (const auto& [name, measure] : scenarios())
    {
        if (!options.scenarios.empty() && options.scenarios.count(name) == 0)
            continue;
        for (const auto& finding : measure(options.effort))
        {
            print(finding);
            results.push_back({{"scenario", name},
                               {"what", finding.what},
                               {"value", finding.value},
                               {"target", finding.target},
                               {"bound", finding.atMost ? "at most" : "at least"},
                               {"met", finding.isMet()},
                               {"details", finding.details}});
        }
    }
    if (!options.jsonFile.empty())
        std::ofstream{options.jsonFile} << results.dump(2) << '\n';
}

} // namespace

int main(int argc, char** argv)
try
{
    using namespace Tolvek::Orvan::Log;
    Configuration::setSink(Severity::Error, [](const Record& record) { fmt::print(stderr, "{}\n", record.text); });
    run(optionsFrom({argv + 1, argv + argc}));
}
catch (const std::exception& error)
{
    fmt::print(stderr, "bus_bench: {}\n", error.what());
    return EXIT_FAILURE;
}
