#pragma once

#include "bus_watch.h"
#include "command_line.h"
#include "configuration.h"
#include "published_devices.h"
#include "report.h"
#include "signals.h"

#include <string>
#include <vector>

namespace Tolvek::Orvan::DeviceId::Provider
{

/// The program between its start and its end.
///
/// It has two threads: the library's, on which devices are read and written, and the caller's of run(), which waits for
/// signals and for the end of the bus.
class Daemon
{
public:
    Daemon(CommandLine commandLine, Configuration configuration, Report& report);

    /// Publishes the devices until a signal ends that.
    /// \throws std::runtime_error what to tell if bus or name cannot be had or are lost
    void run();

private:
    /// Returns when a signal asks for the end.
    void serve(const std::vector<std::string>& ids);
    void reload(const BusWatch& watch);
    void adopt(Configuration configuration, const BusWatch& watch);
    [[nodiscard]] std::string busName() const;
    [[nodiscard]] std::string summary() const;

    CommandLine commandLine_;
    Configuration configuration_;
    Report& report_;
    Signals signals_;
    PublishedDevices devices_;
};

} // namespace Tolvek::Orvan::DeviceId::Provider
