// A provider in a process of its own. Says "ready" on standard output when its devices can be read.
//
//     test_provider SERVICE-NAME [*]ID=TEXT...        devices that keep device-ID XML; * marks the main device
//     test_provider SERVICE-NAME --vel [*]ID=TEXT...  devices that keep VEL strings
//     test_provider SERVICE-NAME --faulty             a device for each fault of a read function, and a "good" one

#include <deviceid/contribution_manager.h>
#include <deviceid/service_factory.h>

#include <logger/configuration.h>

#include <csignal>
#include <cstdlib>
#include <iostream>
#include <list>
#include <memory>
#include <new>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include <unistd.h>

namespace
{

using namespace Tolvek::Orvan::DeviceId;

std::unique_ptr<TokenIfc> publish(ServiceContributorIfc& contributor, std::string_view device, bool isVel,
                                  std::string& text)
{
    const bool isMain = device.front() == '*';
    device.remove_prefix(isMain ? 1 : 0);
    const auto equals = device.find('=');
    const std::string id{device.substr(0, equals)};
    text = device.substr(equals + 1);
    const ReadFunction read = [&text] { return text; };
    const WriteFunction write = [&text](std::string newText) { text = std::move(newText); };
    return isVel ? contributor.addVel(isMain, id, read, write) : contributor.addDeviceId(isMain, id, read, write);
}

void say(const char* line)
{
    std::cout << line << std::endl; // NOLINT(performance-avoid-endl): the reader waits for it
}

/// Tells that it waits and does so until the process gets a signal.
std::string waitForSignal()
{
    say("waiting");
    sigset_t awaited;
    sigemptyset(&awaited);
    sigaddset(&awaited, SIGUSR1);
    int signal = 0;
    sigwait(&awaited, &signal);
    return "<waits/>";
}

std::vector<std::unique_ptr<TokenIfc>> publishFaults(ServiceContributorIfc& contributor)
{
    constexpr std::size_t kHuge = 100'000'000;
    const std::vector<std::pair<const char*, ReadFunction>> devices{
        {"good", [] { return "<good/>"; }},
        {"throws", []() -> std::string { throw 42; }},
        {"memory", []() -> std::string { throw std::bad_alloc{}; }},
        {"calls-back", [] { return ContributionManager::instance()->deviceList().front(); }},
        {"huge", [] { return std::string(kHuge, 'x'); }},
        {"waits", waitForSignal}};
    std::vector<std::unique_ptr<TokenIfc>> tokens;
    tokens.reserve(devices.size());
    for (const auto& [id, read] : devices)
        tokens.push_back(contributor.addDeviceId(false, id, read, [](const std::string&) {}));
    return tokens;
}

void run(const std::string& serviceName, const std::vector<std::string_view>& arguments)
{
    std::list<std::string> texts;
    const ServiceFactory factory{serviceName, Tolvek::Orvan::Utils::BusConnection::Dbus::BusType::Session};
    const auto contributor = factory.deviceIdServiceContributor();
    std::vector<std::unique_ptr<TokenIfc>> tokens;
    bool isVel = false;
    for (const auto argument : arguments)
    {
        if (argument == "--vel")
            isVel = true;
        else if (argument == "--faulty")
            tokens = publishFaults(*contributor);
        else
            tokens.push_back(publish(*contributor, argument, isVel, texts.emplace_back()));
    }
    say("ready");
    pause(); // until the test ends this process
}

} // namespace

int main(int argc, char** argv)
try
{
    if (argc < 2)
        return EXIT_FAILURE;
    Tolvek::Orvan::Log::Configuration::setSink(Tolvek::Orvan::Log::Severity::Error, [](const auto&) {});
    sigset_t forDevices; // blocked in all threads, so that it goes to the one that waits for it
    sigemptyset(&forDevices);
    sigaddset(&forDevices, SIGUSR1);
    sigprocmask(SIG_BLOCK, &forDevices, nullptr);
    run(argv[1], {argv + 2, argv + argc});
}
catch (const std::exception& error)
{
    std::cerr << "test_provider: " << error.what() << '\n';
    return EXIT_FAILURE;
}
