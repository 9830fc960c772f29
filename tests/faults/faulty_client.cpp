// A client on the bus that spares its provider nothing.
//
//     faulty_client PROVIDER-NAME          asks again and again; says "answered" after the first answer
//     faulty_client PROVIDER-NAME flood    the same without reading an answer; says "flooding" after 10,000 calls

#include <systemd/sd-bus.h>

#include <algorithm>
#include <cstdlib>
#include <iostream>
#include <memory>
#include <stdexcept>
#include <utility>

#include <unistd.h>

namespace
{

struct BusCloser
{
    void operator()(sd_bus* bus) const { sd_bus_flush_close_unref(bus); }
};
using Bus = std::unique_ptr<sd_bus, BusCloser>;

constexpr const char* kPath = "/com/tolvek/orvan/deviceid";
constexpr const char* kInterface = "com.tolvek.orvan.deviceid.interface";

Bus openBus()
{
    sd_bus* bus = nullptr;
    if (sd_bus_open_user(&bus) < 0)
        throw std::runtime_error{"no bus"};
    return Bus{bus};
}

void say(const char* line)
{
    std::cout << line << std::endl; // NOLINT(performance-avoid-endl): the reader waits for it
}

void callForEver(sd_bus* bus, const char* provider)
{
    // Errors are no news: the provider comes and goes.
    for (bool isAnswered = false;;)
    {
        const int result =
            sd_bus_call_method(bus, provider, kPath, kInterface, "deviceList", nullptr, nullptr, nullptr);
        if (result >= 0 && !std::exchange(isAnswered, true))
            say("answered");
    }
}

void flood(sd_bus* bus, const char* provider)
{
    constexpr int kMany = 10'000;
    constexpr useconds_t kPause = 1000; // a bus that bounds its users together would make others pay for more
    const auto ignore = [](sd_bus_message*, void*, sd_bus_error*) { return 0; };
    for (int sent = 0, result = 0; result >= 0; ++sent)
    {
        if (sent == kMany)
            say("flooding");
        if (sent > kMany)
            usleep(kPause);
        result = sd_bus_call_method_async(bus, nullptr, provider, kPath, kInterface, "deviceId", ignore, nullptr, "s",
                                          "good");
        result = std::min(result, sd_bus_flush(bus));
    }
    say("disconnected"); // by a bus that has had enough
    pause();             // until the test ends this process
}

} // namespace

int main(int argc, char** argv)
try
{
    if (argc < 2)
        throw std::runtime_error{"usage: faulty_client PROVIDER-NAME [flood]"};
    const auto bus = openBus();
    if (argc > 2)
        flood(bus.get(), argv[1]);
    else
        callForEver(bus.get(), argv[1]);
}
catch (const std::exception& error)
{
    std::cerr << "faulty_client: " << error.what() << '\n';
    return EXIT_FAILURE;
}
