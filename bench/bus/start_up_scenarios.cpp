#include "measure.h"
#include "scenarios.h"
#include "world.h"

#include <fmt/format.h>

#include <stdexcept>
#include <utility>

namespace Bench
{

namespace
{

using Command = std::vector<std::string>;

void runToItsEnd(const Command& command)
{
    if (Tests::Process{command}.wait() != 0)
        throw std::runtime_error{command.front() + " failed"};
}

/// Whole processes, from start to end.
Task processes(std::vector<Command> commands)
{
    return [commands = std::move(commands)]
    {
        for (const auto& command : commands)
            runToItsEnd(command);
    };
}

} // namespace

Findings measureStartUp(const Effort& effort)
{
    Findings findings;
    for (const auto& [names, providers] : {std::pair<std::size_t, std::size_t>{10, 2}, {50, 10}})
    {
        const World world{names, providers};
        const auto busName = World::busName("p0");
        const auto times =
            medianTimes(effort.rounds, {processes({{DEVICEIDCTL, "--session", "get", busName + "#d"}}),
                                        processes({{EXAMPLE_CLIENT, "--session", "get", busName + "#d"}}),
                                        processes({{"busctl", "--user", "tree"},
                                                   {"busctl", "--user", "call", busName, "/com/tolvek/orvan/deviceid",
                                                    "com.tolvek.orvan.deviceid.interface", "deviceId", "s", "d"}})});
        const nlohmann::json details{
            {"deviceidctl_us", times[0]}, {"example_us", times[1]}, {"busctl_us", times[2]}, {"rounds", effort.rounds}};
        const auto bus = fmt::format("{} names, {} providers", names, providers);
        findings.push_back({bus + ": deviceidctl get / example client", times[0] / times[1], 1.5, true, details});
        findings.push_back({bus + ": busctl tree + call / deviceidctl get", times[2] / times[0], 1, false, details});
    }
    return findings;
}

} // namespace Bench
