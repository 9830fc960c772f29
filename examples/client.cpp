// A client to try the library with: lists, reads and writes the devices of all providers on a bus.

#include <deviceid/client.h>

#include <exception>
#include <fstream>
#include <iostream>
#include <sstream>
#include <stdexcept>
#include <string>
#include <vector>

namespace
{

using Tolvek::Orvan::DeviceId::Client;
using Tolvek::Orvan::Utils::BusConnection::Dbus::BusType;
using Arguments = std::vector<std::string>;

constexpr const char* kUsage = R"(Usage: deviceid-example-client [--system|--session] COMMAND
  list                   the ids of all devices
  get ID [--vel]         one device, as device-ID XML or as VEL
  main [--vel]           the system's main device
  set ID FILE [--vel]    store the content of a file as the identity of one device
)";

struct UsageError : std::runtime_error
{
    UsageError()
        : std::runtime_error{kUsage}
    {
    }
};

std::string readFile(const std::string& file)
{
    std::ifstream stream{file, std::ios::binary};
    std::ostringstream content;
    content << stream.rdbuf();
    if (!stream || content.bad())
        throw std::runtime_error{"Cannot read '" + file + "'"};
    return content.str();
}

// A VEL file is one line of text: its end of line does not belong to the VEL string.
std::string readVelFile(const std::string& file)
{
    std::string vel = readFile(file);
    if (!vel.empty() && vel.back() == '\n')
        vel.pop_back();
    return vel;
}

void list(Client& client)
{
    for (const auto& id : client.deviceList())
        std::cout << id << '\n';
}

void set(Client& client, const std::string& id, const std::string& file, bool asVel)
{
    const bool written =
        asVel ? client.setDeviceIdFromVel(id, readVelFile(file)) : client.setDeviceId(id, readFile(file));
    if (!written)
        throw std::runtime_error{"'" + id + "' was not written"};
}

void run(Client& client, const Arguments& arguments, bool asVel)
{
    const std::string command = arguments.empty() ? "" : arguments[0];
    if (command == "list" && arguments.size() == 1 && !asVel)
        list(client);
    else if (command == "get" && arguments.size() == 2)
        std::cout << (asVel ? client.deviceIdAsVel(arguments[1]) + '\n' : client.deviceId(arguments[1]));
    else if (command == "main" && arguments.size() == 1)
        std::cout << (asVel ? client.mainAsVel() + '\n' : client.main());
    else if (command == "set" && arguments.size() == 3)
        set(client, arguments[1], arguments[2], asVel);
    else
        throw UsageError{};
}

BusType takeBusType(Arguments& arguments)
{
    BusType busType = BusType::Session;
    if (!arguments.empty() && (arguments[0] == "--system" || arguments[0] == "--session"))
    {
        busType = arguments[0] == "--system" ? BusType::System : BusType::Session;
        arguments.erase(arguments.begin());
    }
    return busType;
}

bool takeVelOption(Arguments& arguments)
{
    const bool asVel = !arguments.empty() && arguments.back() == "--vel";
    if (asVel)
        arguments.pop_back();
    return asVel;
}

} // namespace

int main(int argc, char* argv[])
{
    try
    {
        Arguments arguments{argv + 1, argv + argc};
        const BusType busType = takeBusType(arguments);
        const bool asVel = takeVelOption(arguments);
        run(*Client::make_client(busType), arguments, asVel);
        return 0;
    }
    catch (const UsageError& error)
    {
        std::cerr << error.what();
        return 2;
    }
    catch (const std::exception& error)
    {
        std::cerr << "deviceid-example-client: " << error.what() << '\n';
        return 1;
    }
}
