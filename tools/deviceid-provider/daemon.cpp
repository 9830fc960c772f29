#include "daemon.h"

#include "service_manager.h"

#include <deviceid/service_factory.h>

#include <sdbus-c++/sdbus-c++.h>

#include <array>
#include <cerrno>
#include <iostream>
#include <stdexcept>
#include <utility>
#include <vector>

#include <poll.h>

namespace Tolvek::Orvan::DeviceId::Provider
{

namespace
{

std::string nameOf(BusType bus)
{
    return bus == BusType::System ? "system bus" : "session bus";
}

/// What the bus says, in words that tell what to do about it.
std::string explain(const sdbus::Error& error, const std::string& busName, BusType bus)
{
    const std::string& kind = error.getName();
    if (kind == "org.freedesktop.DBus.Error.FileExists" || kind == "System.Error.EEXIST")
        return busName + " is owned by another process: end that one, which `busctl status " + busName + "` shows";
    if (kind == "org.freedesktop.DBus.Error.AccessDenied")
        return "not allowed to own " + busName +
               ": run as root or as user deviceid, which the policy com.tolvek.orvan.deviceid.conf of the bus names";
    return "no " + nameOf(bus) + ": is dbus running? (" + error.what() + ")";
}

} // namespace

Daemon::Daemon(CommandLine commandLine, Configuration configuration, Report& report)
    : commandLine_{std::move(commandLine)}
    , configuration_{std::move(configuration)}
    , report_{report}
    , devices_{report}
{
}

void Daemon::run()
{
    // All devices are there before the name is: who sees the name sees them all. At the end the name goes first.
    const auto ids = devices_.publish(configuration_.devices);
    try
    {
        const ServiceFactory factory{configuration_.serviceName, configuration_.bus};
        serve(ids);
    }
    catch (const sdbus::Error& error)
    {
        throw std::runtime_error{explain(error, busName(), configuration_.bus)};
    }
    report_.information("stopped");
}

void Daemon::serve(const std::vector<std::string>& ids)
{
    BusWatch watch{configuration_.bus, busName()};
    watch.requestReads(ids);
    std::cout << "Publishing " << summary() << std::endl; // NOLINT(performance-avoid-endl): scripts wait for it
    ServiceManager::tellReady("Publishing " + summary());
    while (true)
    {
        std::array<pollfd, 2> descriptors{pollfd{signals_.fd(), POLLIN, 0}, watch.pollData()};
        if (poll(descriptors.data(), descriptors.size(), -1) < 0 && errno != EINTR)
            throw std::runtime_error{"cannot wait for signals"};
        for (int signal = signals_.next(); signal != 0; signal = signals_.next())
        {
            if (signal != SIGHUP)
            {
                ServiceManager::tellStopping();
                return;
            }
            reload(watch);
        }
        watch.process();
    }
}

void Daemon::reload(const BusWatch& watch)
{
    ServiceManager::tellReloading();
    std::vector<Problem> problems;
    auto fresh = configurationOf(commandLine_, problems);
    const auto refuseChange = [&](const char* key, bool isChanged)
    {
        if (isChanged)
            problems.push_back({commandLine_.configurationFile, key, "takes effect only when the program is started"});
    };
    if (problems.empty())
    {
        refuseChange("service-name", fresh.serviceName != configuration_.serviceName);
        refuseChange("bus", fresh.bus != configuration_.bus);
        refuseChange("log", fresh.log != configuration_.log);
    }
    if (problems.empty())
    {
        adopt(std::move(fresh), watch);
        return;
    }
    for (const auto& problem : problems)
        report_.error(toString(problem));
    report_.error("the configuration was not reloaded, the old one stays in force");
    ServiceManager::tellReady("Not reloaded, " + toString(problems.front()) + "; still publishing " + summary());
}

void Daemon::adopt(Configuration configuration, const BusWatch& watch)
{
    configuration_ = std::move(configuration);
    watch.requestReads(devices_.publish(configuration_.devices));
    report_.information("reloaded: publishing " + summary());
    ServiceManager::tellReady("Publishing " + summary());
}

std::string Daemon::busName() const
{
    return "com.tolvek.orvan.deviceid." + configuration_.serviceName;
}

std::string Daemon::summary() const
{
    const auto count = devices_.size();
    return std::to_string(count) + (count == 1 ? " device as " : " devices as ") + busName() + " on the " +
           nameOf(configuration_.bus);
}

} // namespace Tolvek::Orvan::DeviceId::Provider
