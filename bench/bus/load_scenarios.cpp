#include "measure.h"
#include "raw_client.h"
#include "scenarios.h"
#include "world.h"

#include <deviceid/client.h>

#include <sdbus-c++/sdbus-c++.h>

#include <fmt/format.h>

#include <array>
#include <atomic>
#include <cstdint>
#include <memory>
#include <mutex>
#include <stdexcept>
#include <string>
#include <thread>
#include <tuple>
#include <vector>

namespace Bench
{

namespace
{

using Tolvek::Orvan::DeviceId::Client;
constexpr auto kSession = Tolvek::Orvan::Utils::BusConnection::Dbus::BusType::Session;

constexpr std::array<std::size_t, 3> kClientCounts{1, 4, 16};
constexpr std::size_t kTurns = 21;

/// What several threads get done together: each repeats `makeTask()`'s task until all calls are spent.
struct Load
{
    double perSecond;
    Microseconds p99;
};

Load runLoad(std::size_t threads, std::size_t calls, const std::function<Task()>& makeTask)
{
    std::mutex mutex;
    std::vector<double> samples;
    std::atomic<std::size_t> spent{0};
    const auto work = [&]
    {
        const auto task = makeTask();
        std::vector<double> own;
        while (spent++ < calls)
            own.push_back(timeOf(task));
        const std::lock_guard lock{mutex};
        samples.insert(samples.end(), own.begin(), own.end());
    };
    const auto elapsed = timeOf(
        [&]
        {
            std::vector<std::thread> running;
            for (std::size_t i = 0; i < threads; ++i)
                running.emplace_back(work);
            for (auto& thread : running)
                thread.join();
        });
    return {static_cast<double>(samples.size()) * 1e6 / elapsed, percentile(samples, 99)};
}

/// Runs two tasks, in an order that changes from turn to turn.
void takeTurns(std::size_t turn, const Task& one, const Task& other)
{
    (turn % 2 == 0 ? one : other)();
    (turn % 2 == 0 ? other : one)();
}

/// deviceId calls to one provider over a connection that stays open.
Task callOf(const std::string& serviceName)
{
    const std::shared_ptr<sdbus::IConnection> connection = sdbus::createSessionBusConnection();
    const std::shared_ptr<sdbus::IProxy> proxy =
        sdbus::createProxy(*connection, World::busName(serviceName), "/com/tolvek/orvan/deviceid");
    return [connection, proxy]
    {
        std::tuple<std::int32_t, std::string, bool> result;
        proxy->callMethod("deviceId")
            .onInterface("com.tolvek.orvan.deviceid.interface")
            .withArguments("d")
            .storeResultsTo(result);
    };
}

struct ProviderLoad
{
    Load load;
    Microseconds cpuPerCall;
};

ProviderLoad loadOf(const std::string& serviceName, pid_t process, std::size_t clients, std::size_t calls)
{
    const auto cpuBefore = cpuTimeOf(process);
    const auto load = runLoad(clients, calls, [&] { return callOf(serviceName); });
    return {load, (cpuTimeOf(process) - cpuBefore) / static_cast<double>(calls)};
}

Findings compareProviders(const Tests::Process& library, const Tests::Process& raw, std::size_t clients,
                          const Effort& effort)
{
    std::vector<double> rate;
    std::vector<double> p99;
    std::vector<double> cpu;
    ProviderLoad ours{};
    ProviderLoad theirs{};
    const auto calls = effort.calls / 2;
    for (std::size_t turn = 0; turn < kTurns; ++turn)
    {
        takeTurns(
            turn, [&] { ours = loadOf("library", library.pid(), clients, calls); },
            [&] { theirs = loadOf("raw", raw.pid(), clients, calls); });
        rate.push_back(ours.load.perSecond / theirs.load.perSecond);
        p99.push_back(ours.load.p99 / theirs.load.p99);
        cpu.push_back(ours.cpuPerCall / theirs.cpuPerCall);
    }
    const nlohmann::json details{{"library_calls_per_s", ours.load.perSecond},
                                 {"raw_calls_per_s", theirs.load.perSecond},
                                 {"library_p99_us", ours.load.p99},
                                 {"raw_p99_us", theirs.load.p99},
                                 {"library_cpu_us", ours.cpuPerCall},
                                 {"raw_cpu_us", theirs.cpuPerCall}};
    const auto name = fmt::format("provider with {} clients: ", clients);
    return {{name + "calls per second / raw", median(rate), 0.95, false, details},
            {name + "p99 / raw", median(p99), 1.15, true, details},
            {name + "CPU per call / raw", median(cpu), 1.25, true, details}};
}

} // namespace

Findings measureProviderLoad(const Effort& effort)
{
    constexpr std::size_t kBytes = 1024;
    World world{0, 0};
    world.addProvider("library", {"d=" + std::string(kBytes, 'x')});
    const auto& library = world.last();
    world.addRawProvider("raw", kBytes);
    const auto& raw = world.last();
    Findings findings;
    for (const auto clients : kClientCounts)
    {
        for (auto& finding : compareProviders(library, raw, clients, effort))
            findings.push_back(std::move(finding));
    }
    return findings;
}

Findings measureManyClients(const Effort& effort)
{
    const auto requests = effort.rounds * 6;
    const World world{50, 10};
    const auto name = World::busName("p0");
    const auto library = [&name]() -> Task
    { return [client = std::shared_ptr{Client::make_client(kSession)}, id = name + "#d"] { client->deviceId(id); }; };
    const auto raw = [&name]() -> Task
    {
        return [&name]
        {
            if (raw_read(name.c_str(), "d") < 0)
                throw std::runtime_error{"The baseline failed"};
        };
    };

    Findings findings;
    for (const auto clients : kClientCounts)
    {
        std::vector<double> ratios;
        for (std::size_t turn = 0; turn < kTurns; ++turn)
        {
            Load ours{};
            Load theirs{};
            takeTurns(
                turn, [&] { ours = runLoad(clients, requests, library); },
                [&] { theirs = runLoad(clients, requests, raw); });
            ratios.push_back(ours.perSecond / theirs.perSecond);
        }
        findings.push_back({fmt::format("{} clients at once: requests per second / raw", clients),
                            median(ratios),
                            0.9,
                            false,
                            {{"turns", kTurns}}});
    }
    return findings;
}

Findings measureEndurance(const Effort& effort)
{
    World world{4, 1};
    world.addProvider("provider", {"--vel", "d=VEL/T;U=Probe A;S=0042"});
    const auto provider = world.last().pid();
    const auto client = Client::make_client(kSession);
    const auto call = callOf("provider");
    const auto requests = [&](std::size_t times)
    {
        for (std::size_t i = 0; i < times; ++i)
            client->deviceId(World::busName("p0") + "#d");
    };
    const auto calls = [&](std::size_t times)
    {
        for (std::size_t i = 0; i < times; ++i)
            call();
    };
    const auto memoryFinding = [](const std::string& what, std::size_t before, std::size_t after) -> Finding
    {
        return {"resident memory after " + what + " / before",
                static_cast<double>(after) / static_cast<double>(before),
                1.02,
                true,
                {{"before_kib", before}, {"after_kib", after}}};
    };
    const auto many = effort.calls * 10;
    requests(effort.calls / 10);
    calls(many / 10);
    const auto files = openFilesOfThisProcess();
    const auto memory = residentKiBOfThisProcess();
    const auto providerMemory = residentKiB(provider);
    requests(effort.calls);
    const auto filesAfter = openFilesOfThisProcess();
    const auto memoryAfter = residentKiBOfThisProcess();
    calls(many);
    return {{fmt::format("open files after {} requests / before", effort.calls),
             static_cast<double>(filesAfter) / static_cast<double>(files),
             1,
             true,
             {{"before", files}, {"after", filesAfter}}},
            memoryFinding(fmt::format("{} requests of a client", effort.calls), memory, memoryAfter),
            memoryFinding(fmt::format("{} calls to a provider", many), providerMemory, residentKiB(provider))};
}

} // namespace Bench
