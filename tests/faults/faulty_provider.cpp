// A provider with a device for each fault that a read or write function can have, and a "good" one. Says "ready" on
// standard output when they can be read, and "bus lost" when its connection has ended.
//
//     faulty_provider SERVICE-NAME

#include <deviceid/contribution_manager.h>
#include <deviceid/service_factory.h>

#include <logger/configuration.h>

#include <csignal>
#include <cstdlib>
#include <iostream>
#include <memory>
#include <new>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include <unistd.h>

namespace
{

using namespace Tolvek::Orvan;
using namespace Tolvek::Orvan::DeviceId;

void say(const char* line)
{
    std::cout << line << std::endl; // NOLINT(performance-avoid-endl): the reader waits for it
}

sigset_t goOn()
{
    sigset_t signals;
    sigemptyset(&signals);
    sigaddset(&signals, SIGUSR1);
    return signals;
}

/// Says that it waits and does so until the process gets a signal.
std::string waitForSignal()
{
    say("waiting");
    const sigset_t awaited = goOn();
    int signal = 0;
    sigwait(&awaited, &signal);
    return "<waits/>";
}

/// What a device does when it is read, and when it is written to.
std::vector<std::pair<const char*, ReadFunction>> faults()
{
    constexpr std::size_t kHuge = 100'000'000;
    return {{"good", [] { return "<good/>"; }},
            {"throws", []() -> std::string { throw std::runtime_error{"broken"}; }},
            {"throws-int", []() -> std::string { throw 42; }},
            {"memory", []() -> std::string { throw std::bad_alloc{}; }},
            {"calls-back", [] { return ContributionManager::instance()->deviceList().front(); }},
            {"huge", [] { return std::string(kHuge, 'x'); }},
            {"waits", waitForSignal}};
}

void run(const std::string& serviceName)
{
    const ServiceFactory factory{serviceName, Utils::BusConnection::Dbus::BusType::Session};
    std::vector<std::unique_ptr<TokenIfc>> tokens;
    for (const auto& [id, fault] : faults())
        tokens.push_back(factory.deviceIdServiceContributor()->addDeviceId(
            false, id, fault, [fault = fault](const std::string&) { fault(); }));
    say("ready");
    pause(); // until the test ends this process
}

} // namespace

int main(int argc, char** argv)
try
{
    if (argc != 2)
        throw std::runtime_error{"usage: faulty_provider SERVICE-NAME"};
    Log::Configuration::setSink(Log::Severity::Error,
                                [](const auto& record)
                                {
                                    if (record.text.rfind("Connection to the bus lost", 0) == 0)
                                        say("bus lost");
                                });
    const sigset_t forDevices = goOn(); // blocked in all threads, so that it goes to the one that waits for it
    sigprocmask(SIG_BLOCK, &forDevices, nullptr);
    run(argv[1]);
}
catch (const std::exception& error)
{
    std::cerr << "faulty_provider: " << error.what() << '\n';
    return EXIT_FAILURE;
}
