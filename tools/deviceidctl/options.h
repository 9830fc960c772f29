#pragma once

#include "common/identity_document.h"

#include <busconnection/dbus/bus_type.h>

#include <chrono>
#include <optional>
#include <string>
#include <vector>

namespace Tolvek::Orvan::DeviceId::Tools::Ctl
{

using Utils::BusConnection::Dbus::BusType;

struct Options;

/// Carries a command out and returns the exit code. \throws Failure
using Command = int (*)(const Options& options);

/// The command line, understood.
struct Options
{
    Command command = nullptr;
    BusType bus = BusType::System;
    bool json = false;
    int verbosity = 0;

    std::string id;               ///< empty if none was given
    std::vector<std::string> ids; ///< of `show`
    bool mainDevice = false;
    bool idsOnly = false;
    std::string file;
    std::optional<Form> form; ///< as which a document is read, written or converted
    bool dryRun = false;
    std::optional<std::chrono::duration<double>> timeout;
};

/// Help that was asked for instead of a command.
struct HelpRequest
{
    std::string text;
};

/// \throws HelpRequest, Failure
Options parseOptions(int argc, const char* const* argv);

/// Whether a command line asks for JSON, even if it cannot be understood.
bool asksForJson(int argc, const char* const* argv);

} // namespace Tolvek::Orvan::DeviceId::Tools::Ctl
