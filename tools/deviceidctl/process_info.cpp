#include "process_info.h"

#include <busconnection/dbus/factory.h>

#include <sdbus-c++/sdbus-c++.h>

#include <cstdint>
#include <fstream>

namespace Tolvek::Orvan::DeviceId::Tools::Ctl
{

namespace
{

/// The kernel cuts the name of a process here.
constexpr std::size_t kNameLength = 15;

std::string baseName(const std::string& path)
{
    return path.substr(path.find_last_of('/') + 1);
}

/// The program, or the script that an interpreter runs, as it was started.
std::string uncut(const std::string& name, const std::string& folder)
{
    std::ifstream arguments{folder + "cmdline"};
    for (std::string argument; std::getline(arguments, argument, '\0');)
    {
        if (baseName(argument).compare(0, kNameLength, name) == 0)
            return baseName(argument);
    }
    return name;
}

std::string commandOf(std::uint32_t pid)
{
    const std::string folder = "/proc/" + std::to_string(pid) + '/';
    std::string name;
    std::getline(std::ifstream{folder + "comm"}, name, '\0');
    if (!name.empty() && name.back() == '\n')
        name.pop_back();
    return name.size() < kNameLength ? name : uncut(name, folder);
}

} // namespace

std::optional<ProcessInfo> processOwning(BusType bus, const std::string& busName)
{
    try
    {
        const auto factory = std::make_shared<Utils::BusConnection::Dbus::Factory>(bus);
        const auto proxy = sdbus::createProxy(factory->connection(), "org.freedesktop.DBus", "/org/freedesktop/DBus");
        std::uint32_t pid = 0;
        proxy->callMethod("GetConnectionUnixProcessID")
            .onInterface("org.freedesktop.DBus")
            .withArguments(busName)
            .storeResultsTo(pid);
        return ProcessInfo{pid, commandOf(pid)};
    }
    catch (const sdbus::Error&)
    {
        return std::nullopt;
    }
}

std::string describe(const std::optional<ProcessInfo>& process)
{
    if (!process)
        return "unknown";
    return std::to_string(process->pid) + (process->command.empty() ? "" : " (" + process->command + ")");
}

} // namespace Tolvek::Orvan::DeviceId::Tools::Ctl
