#include "bus_errors.h"

#include <cstdlib>
#include <string_view>

namespace Tolvek::Orvan::DeviceId::Tools::Ctl
{

namespace
{

std::string environment(const char* name)
{
    const char* const value = std::getenv(name);
    return value != nullptr ? value : "";
}

/// Where the D-Bus library looks for a bus; empty if it does not know where to look.
std::string addressOf(BusType bus)
{
    if (bus == BusType::System)
    {
        auto address = environment("DBUS_SYSTEM_BUS_ADDRESS");
        return address.empty() ? "unix:path=/run/dbus/system_bus_socket" : address;
    }
    auto address = environment("DBUS_SESSION_BUS_ADDRESS");
    const auto folder = environment("XDG_RUNTIME_DIR");
    if (!address.empty() || folder.empty())
        return address;
    return "unix:path=" + folder + "/bus";
}

bool contains(const std::string& text, const char* part)
{
    return text.find(part) != std::string::npos;
}

/// The error itself within a log line that ends "with (error)".
std::string causeIn(const std::string& text)
{
    constexpr std::string_view kStart = "with (";
    const auto start = text.find(kStart);
    const bool isQuoted = start != std::string::npos && text.back() == ')';
    return isQuoted ? text.substr(start + kStart.size(), text.size() - start - kStart.size() - 1) : text;
}

} // namespace

const char* nameOf(BusType bus)
{
    return bus == BusType::System ? "system" : "session";
}

Failure noBus(BusType bus, const sdbus::Error& error)
{
    const auto address = addressOf(bus);
    const auto place = address.empty() ? std::string{"an unknown address"} : address;
    if (address.empty())
        return {Failed, "no-bus",
                "no session bus: DBUS_SESSION_BUS_ADDRESS is not set; use --system or dbus-run-session"};
    if (contains(error.getName(), "EACCES") || contains(error.getName(), "EPERM") ||
        contains(error.getName(), "AccessDenied"))
        return {Failed, "denied", "not allowed to use the bus at " + place + ": run this as a user who may"};
    if (contains(error.getName(), "FileNotFound") || contains(error.getName(), "ENOENT") ||
        contains(error.getName(), "ECONNREFUSED") || contains(error.getName(), "ENOTCONN") ||
        contains(error.getName(), "ECONNRESET"))
        return {Failed, "no-bus", "no bus at " + place + ": is dbus running?"};
    return {Failed, "no-bus", "no bus at " + place + ": " + error.getMessage()};
}

Failure failedCall(const std::string& attempt, const std::string& errorText)
{
    if (contains(errorText, "AccessDenied"))
        return {Failed, "denied",
                attempt + ": not allowed: only root and members of the group deviceid may write, "
                          "see the policy of the bus"};
    if (contains(errorText, "NoReply") || contains(errorText, "Timeout") || contains(errorText, "ETIMEDOUT"))
        return {Failed, "no-reply", attempt + ": the provider does not answer: is it stopped, or its device stuck?"};
    if (contains(errorText, "ServiceUnknown") || contains(errorText, "NameHasNoOwner"))
        return {Failed, "provider-gone", attempt + ": the provider has gone: is it still running?"};
    return {Failed, "call", attempt + ": " + (errorText.empty() ? "the call failed" : causeIn(errorText))};
}

} // namespace Tolvek::Orvan::DeviceId::Tools::Ctl
