#include "private_bus.h"

#include <cstdlib>
#include <fstream>
#include <string_view>

namespace Tests
{

namespace
{

/// Without limits of its own a configuration has those of a system bus.
constexpr std::string_view kSessionLimits = R"(
  <limit name="max_replies_per_connection">50000</limit>
  <limit name="max_completed_connections">100000</limit>
  <limit name="max_incomplete_connections">10000</limit>
  <limit name="max_connections_per_user">100000</limit>
  <limit name="max_names_per_connection">50000</limit>
  <limit name="max_message_size">1000000000</limit>
  <limit name="max_incoming_bytes">1000000000</limit>
  <limit name="max_outgoing_bytes">1000000000</limit>)";

/// What a system bus lets a client ask the bus itself.
constexpr std::string_view kSystemRules = R"(
  <policy context="default">
    <deny send_destination="org.freedesktop.DBus"/>
    <allow send_destination="org.freedesktop.DBus" send_interface="org.freedesktop.DBus"/>
    <allow send_destination="org.freedesktop.DBus" send_interface="org.freedesktop.DBus.Introspectable"/>
    <allow send_destination="org.freedesktop.DBus" send_interface="org.freedesktop.DBus.Properties"/>
    <allow send_destination="org.freedesktop.DBus" send_interface="org.freedesktop.DBus.Monitoring"/>
  </policy>)";

std::string configuration(const std::filesystem::path& socket, std::string_view kind)
{
    std::string text = R"(<!DOCTYPE busconfig PUBLIC "-//freedesktop//DTD D-Bus Bus Configuration 1.0//EN"
 "http://www.freedesktop.org/standards/dbus/1.0/busconfig.dtd">
<busconfig>
  <listen>unix:path=)";
    text += socket.string();
    text += R"(</listen>
  <auth>EXTERNAL</auth>
  <policy context="default">
    <allow user="*"/>
    <allow own="*"/>
    <allow send_destination="*" eavesdrop="true"/>
    <allow eavesdrop="true"/>
  </policy>)";
    text += kind == "session" ? kSessionLimits : kSystemRules;
    if (kind == "tight")
        text += R"(<limit name="max_replies_per_connection">40</limit>)";
    return text + "\n</busconfig>\n";
}

} // namespace

PrivateBus::PrivateBus()
{
    const char* const chosen = std::getenv("DEVICEID_TEST_BUS");
    const std::string_view kind = chosen != nullptr ? chosen : "session";
    isBroker_ = kind == "broker";
    if (isBroker_)
        startBroker();
    else
        startDaemon(kind);
    address_ = daemon_->readLine();
    setenv("DBUS_SESSION_BUS_ADDRESS", address_.c_str(), 1);
    setenv("DBUS_SYSTEM_BUS_ADDRESS", address_.c_str(), 1);
}

void PrivateBus::startDaemon(std::string_view kind)
{
    const auto file = folder_.path() / "bus.conf";
    std::ofstream{file} << configuration(folder_.path() / "bus", kind);
    // What the daemon says about descriptor limits that it cannot raise is no concern of a test.
    const auto log = folder_.path() / "bus.log";
    daemon_ = std::make_unique<Process>(
        std::vector<std::string>{"sh", "-c", R"(exec dbus-daemon --nofork --nosyslog --nopidfile --print-address \
            --config-file="$1" 2>"$2")",
                                 "sh", file.string(), log.string()});
}

void PrivateBus::startBroker()
{
    daemon_ = std::make_unique<Process>(
        std::vector<std::string>{BROKER_CONTROLLER, DBUS_BROKER, (folder_.path() / "bus").string()});
}

PrivateBus::~PrivateBus()
{
    unsetenv("DBUS_SESSION_BUS_ADDRESS");
    unsetenv("DBUS_SYSTEM_BUS_ADDRESS");
}

void PrivateBus::kill()
{
    daemon_->signal(SIGKILL);
    daemon_->wait();
}

} // namespace Tests
