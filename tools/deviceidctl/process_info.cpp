#include "process_info.h"

#include <busconnection/dbus/factory.h>

#include <sdbus-c++/sdbus-c++.h>

#include <cstdint>
#include <fstream>

namespace Tolvek::Orvan::DeviceId::Tools::Ctl
{

namespace
{

std::string commandOf(std::uint32_t pid)
{
    std::string name;
    std::getline(std::ifstream{"/proc/" + std::to_string(pid) + "/comm"}, name, '\0');
    if (!name.empty() && name.back() == '\n')
        name.pop_back();
    return name;
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
