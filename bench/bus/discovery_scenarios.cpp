#include "measure.h"
#include "raw_client.h"
#include "scenarios.h"
#include "world.h"

#include <deviceid/client.h>

#include <sdbus-c++/sdbus-c++.h>

#include <fmt/format.h>

#include <algorithm>
#include <initializer_list>
#include <memory>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

namespace Bench
{

namespace
{

using Tolvek::Orvan::DeviceId::Client;
constexpr auto kSession = Tolvek::Orvan::Utils::BusConnection::Dbus::BusType::Session;

std::string compositeId(const std::string& serviceName)
{
    return World::busName(serviceName) + "#d";
}

Task libraryRead(const std::string& serviceName)
{
    return [client = std::shared_ptr{Client::make_client(kSession)}, id = compositeId(serviceName)]
    { client->deviceId(id); };
}

Task baseline(int (*read)(const char*, const char*), const std::string& serviceName, std::size_t objects)
{
    return [read, name = World::busName(serviceName), objects]
    {
        if (read(name.c_str(), "d") != static_cast<int>(objects))
            throw std::runtime_error{"A baseline did not find every provider"};
    };
}

struct Bus
{
    std::size_t names;
    std::size_t providers;
    double rawTarget;
    double naiveTarget;
};

Findings measureBus(const Bus& bus, const Effort& effort)
{
    const World world{bus.names, bus.providers};
    const auto times = medianTimes(effort.rounds, {libraryRead("p0"), baseline(raw_read, "p0", bus.providers),
                                                   baseline(naive_read, "p0", bus.providers)});
    const nlohmann::json details{{"names", bus.names}, {"providers", bus.providers}, {"library_us", times[0]},
                                 {"raw_us", times[1]}, {"naive_us", times[2]},       {"rounds", effort.rounds}};
    const auto name = fmt::format("{} names, {} providers", bus.names, bus.providers);
    return {{name + ": library / raw", times[0] / times[1], bus.rawTarget, true, details},
            {name + ": naive / library", times[2] / times[0], bus.naiveTarget, false, details}};
}

} // namespace

Findings measureDiscovery(const Effort& effort)
{
    Findings findings;
    for (const auto& bus : {Bus{10, 2, 1.15, 5}, Bus{50, 10, 1.15, 7}, Bus{100, 20, 1.15, 7}, Bus{100, 100, 1.25, 5}})
    {
        for (auto& finding : measureBus(bus, effort))
            findings.push_back(std::move(finding));
    }
    return findings;
}

Findings measureCurve(const Effort& effort)
{
    Findings findings;
    for (const auto& [names, providers] : std::initializer_list<std::pair<std::size_t, std::size_t>>{
             {5, 1}, {25, 5}, {75, 15}, {50, 1}, {50, 50}, {100, 1}})
        findings.push_back(measureBus({names, providers, 1.25, 0}, effort).front());
    return findings;
}

namespace
{

Finding finding(std::string what, const Comparison& times, double target)
{
    return {std::move(what),
            times.with / times.without,
            target,
            true,
            {{"with_us", times.with}, {"without_us", times.without}}};
}

} // namespace

Findings measureFatPeer(const Effort& effort)
{
    constexpr std::size_t kObjects = 400;
    constexpr std::size_t kMethods = 60;
    World world{50, 10};
    const auto times =
        compareCircumstances(effort.rounds, libraryRead("p0"),
                             [&world]
                             {
                                 world.addForeign(1, kObjects, kMethods);
                                 return std::shared_ptr<void>{&world, [&world](void*) { world.removeLast(); }};
                             });
    return {finding("with a peer of 400 fat objects / without", times, 1.2)};
}

Findings measureIdleClients(const Effort& effort)
{
    using Connections = std::vector<std::unique_ptr<sdbus::IConnection>>;
    const World world{50, 10};
    Findings findings;
    for (const std::size_t count : {1UL, 20UL})
    {
        const auto enter = [count]
        {
            auto idle = std::make_shared<Connections>(count);
            std::generate(idle->begin(), idle->end(), [] { return sdbus::createSessionBusConnection(); });
            return idle;
        };
        const auto times = compareCircumstances(effort.rounds, libraryRead("p0"), enter);
        findings.push_back(finding(fmt::format("with {} idle clients / without", count), times, 1.05));
    }
    return findings;
}

namespace
{

Finding measureStopped(std::size_t count, bool areProviders, std::size_t rounds)
{
    constexpr double kPlatformTimeoutUs = 2'000'000;
    constexpr double kForeignTimeoutUs = 250'000;

    World world{10, 2};
    std::vector<std::unique_ptr<Tests::Process>> stopped;
    for (std::size_t i = 0; i < count; ++i)
    {
        const auto name = (areProviders ? kNamePrefix + "stopped" : "org.example.Stopped") + std::to_string(i);
        stopped.push_back(
            std::make_unique<Tests::Process>(std::vector<std::string>{RAW_PEER, "provider", name, "100"}));
        stopped.back()->waitUntilReady();
        stopped.back()->stop();
    }
    const auto timeout = areProviders ? kPlatformTimeoutUs : kForeignTimeoutUs;
    const auto time = medianTimes(rounds, {libraryRead("p0")}).front();
    return {fmt::format("{} stopped {}: time / one time-out", count, areProviders ? "providers" : "foreign peers"),
            time / timeout,
            1.05,
            true,
            {{"library_us", time}, {"timeout_us", timeout}, {"rounds", rounds}}};
}

} // namespace

Findings measureStoppedPeers(const Effort& effort)
{
    const auto rounds = effort.rounds / 2; // each of them waits for a time-out
    Findings findings;
    for (const bool areProviders : {false, true})
    {
        for (const std::size_t count : {1UL, 3UL, 30UL})
            findings.push_back(measureStopped(count, areProviders, rounds));
    }
    return findings;
}

} // namespace Bench
