#include "bus.h"

#include <logger/logger.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <string_view>
#include <thread>

namespace Tolvek::Orvan::Utils::BusConnection::Dbus
{

namespace
{

using Log::orvanDoLog;
using Log::Severity;
using std::chrono::milliseconds;

/// Pauses between attempts: half a second in all, far more than a bus takes to forget a closed connection.
constexpr std::array kRetryPauses{milliseconds{1},  milliseconds{4},   milliseconds{15},
                                  milliseconds{60}, milliseconds{140}, milliseconds{280}};
/// No attempt begins later: one to a bus that has stopped takes the D-Bus library's minute and a half.
constexpr milliseconds kRetryTime{2000};

/// A bus that is full drops the new connection during or right after the handshake; one that is not there does not
/// even accept it.
bool mayPass(const sdbus::Error& error)
{
    constexpr std::array<std::string_view, 7> kTransient{"org.freedesktop.DBus.Error.LimitsExceeded",
                                                         "org.freedesktop.DBus.Error.NoReply",
                                                         "org.freedesktop.DBus.Error.Disconnected",
                                                         "System.Error.ECONNRESET",
                                                         "System.Error.ENOTCONN",
                                                         "System.Error.EPIPE",
                                                         "System.Error.EAGAIN"};
    return std::find(kTransient.begin(), kTransient.end(), error.getName()) != kTransient.end();
}

} // namespace

std::unique_ptr<sdbus::IConnection> tryOpenBus(BusType type)
{
    return type == BusType::System ? sdbus::createSystemBusConnection() : sdbus::createSessionBusConnection();
}

std::unique_ptr<sdbus::IConnection> openBus(BusType type)
{
    const auto last = std::chrono::steady_clock::now() + kRetryTime;
    for (const auto pause : kRetryPauses)
    {
        try
        {
            return tryOpenBus(type);
        }
        catch (const sdbus::Error& error)
        {
            orvanDoLog(Severity::DetailedTrace, "The bus takes no connection: %s", {}, error.what());
            if (!mayPass(error) || std::chrono::steady_clock::now() > last)
                throw;
        }
        std::this_thread::sleep_for(pause);
    }
    return tryOpenBus(type);
}

} // namespace Tolvek::Orvan::Utils::BusConnection::Dbus
