// A provider in a process of its own. Says "ready" on standard output when its devices can be read.
//
//     test_provider SERVICE-NAME [*]ID=TEXT...        devices that keep device-ID XML; * marks the main device
//     test_provider SERVICE-NAME --vel [*]ID=TEXT...  devices that keep VEL strings

#include <deviceid/service_factory.h>

#include <logger/configuration.h>

#include <cstdlib>
#include <iostream>
#include <list>
#include <memory>
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
        else
            tokens.push_back(publish(*contributor, argument, isVel, texts.emplace_back()));
    }
    std::cout << "ready" << std::endl; // NOLINT(performance-avoid-endl): the reader waits for it
    pause();                           // until the test ends this process
}

} // namespace

int main(int argc, char** argv)
try
{
    if (argc < 2)
        return EXIT_FAILURE;
    Tolvek::Orvan::Log::Configuration::setSink(Tolvek::Orvan::Log::Severity::Error, [](const auto&) {});
    run(argv[1], {argv + 2, argv + argc});
}
catch (const std::exception& error)
{
    std::cerr << "test_provider: " << error.what() << '\n';
    return EXIT_FAILURE;
}
