// Publishes devices whose identities are kept in files, for machines whose devices need no program of their own.

#include "command_line.h"
#include "daemon.h"
#include "report.h"

#include <exception>
#include <iostream>
#include <optional>
#include <utility>
#include <vector>

namespace
{

using namespace Tolvek::Orvan::DeviceId::Provider;

/// A device that cannot be read makes no configuration wrong, but who checks one wants to know.
int tellRight(const Configuration& configuration, const Report& report)
{
    for (const auto& settings : configuration.devices)
    {
        try
        {
            Device{settings, report}.read();
        }
        catch (const std::exception&) // NOLINT(bugprone-empty-catch): the device has told it
        {
        }
    }
    std::cout << "The configuration is right: " << configuration.devices.size() << " device(s), service name "
              << configuration.serviceName << '\n';
    return kSuccess;
}

int run(const CommandLine& commandLine, Report& report)
{
    std::vector<Problem> problems;
    auto configuration = configurationOf(commandLine, problems);
    for (const auto& problem : problems)
        report.error(toString(problem));
    if (!problems.empty())
        return kWrongUse;
    if (commandLine.isCheck)
        return tellRight(configuration, report);
    report.configureLog(configuration.log, configuration.serviceName);
    Daemon{commandLine, std::move(configuration), report}.run();
    return kSuccess;
}

} // namespace

int main(int argc, char* argv[])
{
    Report report;
    try
    {
        std::optional<int> exitCode;
        const auto commandLine = parseCommandLine(argc, argv, exitCode);
        return exitCode ? *exitCode : run(commandLine, report);
    }
    catch (const std::exception& error)
    {
        report.error(error.what());
        return kFailure;
    }
}
