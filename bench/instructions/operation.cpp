// One operation, as many times as is said: the difference between two such runs is what the operation costs, without
// start, end and first use of anything.

#include <deviceid/client.h>
#include <deviceid/info.h>
#include <deviceid/service_factory.h>
#include <deviceid/vel_conversion.h>

#include <logger/configuration.h>

#include <condition_variable>
#include <cstdlib>
#include <functional>
#include <iostream>
#include <map>
#include <mutex>
#include <stdexcept>
#include <string>

#include <unistd.h>

namespace
{

using namespace Tolvek::Orvan;
using Utils::BusConnection::Dbus::BusType;

const std::string kVel = "VEL/T;U=Probe A;P=100200;S=0042;L=Plant 7;D=2021-03-05;E=2.10";

/// What a program does that is linked with the library and never uses it.
void load(int /*count*/) {}

void readDocument(int count)
{
    const auto xml = DeviceId::velToDeviceIdXml(kVel);
    for (int i = 0; i < count; ++i)
        static_cast<void>(DeviceId::Info::parse(xml));
}

void writeDocument(int count)
{
    for (int i = 0; i < count; ++i)
        static_cast<void>(DeviceId::velToDeviceIdXml(kVel));
}

void discover(int count)
{
    const auto client = DeviceId::Client::make_client(BusType::Session);
    for (int i = 0; i < count; ++i)
    {
        constexpr std::size_t kProviders = 10;
        if (client->deviceList().size() != kProviders)
            throw std::runtime_error{"Not all providers were found"};
    }
}

/// Publishes a device until it has been read so many times.
void serve(int count)
{
    std::mutex mutex;
    std::condition_variable wasRead;
    int reads = 0;
    std::string document = DeviceId::velToDeviceIdXml(kVel);
    const DeviceId::ServiceFactory factory{"counted", BusType::Session};
    const auto token = factory.deviceIdServiceContributor()->addDeviceId(
        false, "probe",
        [&]
        {
            const std::lock_guard lock{mutex};
            ++reads;
            wasRead.notify_one();
            return document;
        },
        [](const std::string&) {});
    std::cout << "Ready" << std::endl;
    std::unique_lock lock{mutex};
    wasRead.wait(lock, [&] { return reads >= count; });
}

/// Publishes a device for others to find, until the process is ended.
void serveForEver(const std::string& name)
{
    const DeviceId::ServiceFactory factory{name, BusType::Session};
    const auto token = factory.deviceIdServiceContributor()->addVel(
        false, "probe", [] { return kVel; }, [](const std::string&) {});
    std::cout << "Ready" << std::endl;
    pause();
}

} // namespace

int main(int argc, char** argv)
{
    Log::Configuration::setSink(Log::Severity::Error,
                                [](const Log::Record& record) { std::cerr << record.text << '\n'; });
    if (argc == 3 && argv[1] == std::string{"serve-as"})
    {
        serveForEver(argv[2]);
        return EXIT_SUCCESS;
    }
    const std::map<std::string, std::function<void(int)>> operations{
        {"load", load}, {"parse", readDocument}, {"write", writeDocument}, {"discover", discover}, {"serve", serve}};
    const auto operation = operations.find(argc == 3 ? argv[1] : "");
    if (operation == operations.end())
    {
        std::cerr << "usage: counted_operation load|parse|write|discover|serve COUNT | serve-as NAME\n";
        return EXIT_FAILURE;
    }
    operation->second(std::stoi(argv[2]));
}
