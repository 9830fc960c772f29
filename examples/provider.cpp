// A provider to try the library with: publishes two devices whose identities are kept in two files.

#include <deviceid/service_factory.h>

#include <logger/configuration.h>

#include <algorithm>
#include <csignal>
#include <exception>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <sstream>
#include <stdexcept>
#include <string>
#include <vector>

namespace
{

using Tolvek::Orvan::DeviceId::ServiceFactory;
using Tolvek::Orvan::Utils::BusConnection::Dbus::BusType;
namespace Log = Tolvek::Orvan::Log;

std::string readFile(const std::string& file)
{
    std::ifstream stream{file, std::ios::binary};
    std::ostringstream content;
    content << stream.rdbuf();
    if (!stream || content.bad())
        throw std::runtime_error{"Cannot read '" + file + "'"};
    return content.str();
}

// The new content takes the file's place in one step: an identity that is cut short would be lost.
void replaceFile(const std::string& file, const std::string& content)
{
    const std::string fresh = file + ".new";
    std::ofstream stream{fresh, std::ios::binary | std::ios::trunc};
    stream << content;
    stream.close();
    if (!stream)
        throw std::runtime_error{"Cannot write '" + fresh + "'"};
    std::filesystem::rename(fresh, file);
}

// A VEL file is one line of text: its end of line does not belong to the VEL string.
std::string readVelFile(const std::string& file)
{
    std::string vel = readFile(file);
    if (!vel.empty() && vel.back() == '\n')
        vel.pop_back();
    return vel;
}

// ServiceFactory sets up log files unless the process logs elsewhere; a program tried by hand shows its lines instead.
void logToStandardError()
{
    const auto show = [](const Log::Record& record)
    {
        std::string text{record.text};
        const auto isControl = [](char character) { return static_cast<unsigned char>(character) < ' '; };
        std::replace_if(text.begin(), text.end(), isControl, '?');
        std::cerr << "log: " << text << std::endl;
    };
    Log::Configuration::setSink(Log::Severity::Warning, show);
}

// To be called before other threads are started, which inherit the blocked signals.
sigset_t blockStopSignals()
{
    sigset_t signals{};
    sigemptyset(&signals);
    sigaddset(&signals, SIGINT);
    sigaddset(&signals, SIGTERM);
    pthread_sigmask(SIG_BLOCK, &signals, nullptr);
    return signals;
}

void publish(const std::string& name, BusType busType, const std::string& velFile, const std::string& xmlFile)
{
    readVelFile(velFile);
    readFile(xmlFile);

    const sigset_t stopSignals = blockStopSignals();
    const ServiceFactory factory{name, busType};
    const auto contributor = factory.deviceIdServiceContributor();
    const auto mainDevice = contributor->addVel(
        true, "base-unit", [&] { return readVelFile(velFile); },
        [&](const std::string& vel) { replaceFile(velFile, vel + '\n'); });
    const auto otherDevice = contributor->addDeviceId(
        false, "probe", [&] { return readFile(xmlFile); }, [&](const std::string& xml) { replaceFile(xmlFile, xml); });

    std::cout << "Publishing base-unit and probe as com.tolvek.orvan.deviceid." << name << std::endl;
    int received = 0;
    sigwait(&stopSignals, &received);
}

} // namespace

int main(int argc, char* argv[])
{
    try
    {
        std::vector<std::string> arguments{argv + 1, argv + argc};
        BusType busType = BusType::Session;
        if (!arguments.empty() && (arguments[0] == "--system" || arguments[0] == "--session"))
        {
            busType = arguments[0] == "--system" ? BusType::System : BusType::Session;
            arguments.erase(arguments.begin());
        }
        if (arguments.size() != 3)
        {
            std::cerr << "Usage: deviceid-example-provider [--system|--session] NAME VEL-FILE XML-FILE\n";
            return 2;
        }
        logToStandardError();
        publish(arguments[0], busType, arguments[1], arguments[2]);
        return 0;
    }
    catch (const std::exception& error)
    {
        std::cerr << "deviceid-example-provider: " << error.what() << '\n';
        return 1;
    }
}
