#pragma once

#include "configuration.h"

#include <optional>
#include <string>
#include <vector>

namespace Tolvek::Orvan::DeviceId::Provider
{

/// Exit codes of the program.
/// \{
constexpr int kSuccess = 0;  ///< stopped by a signal, or the configuration is right
constexpr int kFailure = 1;  ///< the environment failed: bus, name; starting again later may help
constexpr int kWrongUse = 2; ///< command line or configuration is wrong; starting again does not help
/// \}

/// What the command line says.
struct CommandLine
{
    std::string configurationFile; ///< empty if there is none
    bool isCheck = false;
    std::vector<Setting> settings;
    std::vector<DeviceSection> devices;
};

/// Reads the command line. If that is all there is to do (help, version, a mistake), it has been done and `exitCode` is
/// set.
CommandLine parseCommandLine(int count, const char* const* arguments, std::optional<int>& exitCode);

/// The configuration that a command line describes: that of its file, if it names one, in which the settings of the
/// command line take precedence.
Configuration configurationOf(const CommandLine& commandLine, std::vector<Problem>& problems);

/// The names of all options, as documents must have them: "--config", "-h" and so on.
std::vector<std::string> optionNames();

} // namespace Tolvek::Orvan::DeviceId::Provider
