#include "commands/commands.h"

#include "bus_errors.h"
#include "common/text.h"
#include "failure.h"
#include "findings.h"
#include "json_output.h"
#include "output.h"
#include "table.h"

#include <algorithm>
#include <array>

namespace Tolvek::Orvan::DeviceId::Tools::Ctl
{

namespace
{

Observation observe(BusType bus)
{
    const Devices devices{bus};
    Observation seen;
    seen.passedOver = devices.passedOver();
    seen.withoutDevices = devices.namesWithoutDevices();
    seen.providers = devices.providers();
    for (const auto& provider : seen.providers)
    {
        for (const auto& deviceId : provider.deviceIds)
            seen.devices.push_back(readDevice(*provider.service, deviceId));
    }
    return seen;
}

ExitCode exitCodeOf(Severity verdict)
{
    constexpr std::array kExitCodes{Done, Remarks, Failed};
    return kExitCodes.at(static_cast<std::size_t>(verdict));
}

std::size_t count(const Findings& findings, Severity severity)
{
    return static_cast<std::size_t>(std::count_if(
        findings.begin(), findings.end(), [&](const Finding& finding) { return finding.severity == severity; }));
}

std::string counted(std::size_t number, const std::string& what)
{
    return std::to_string(number) + " " + what + (number == 1 ? "" : "s");
}

void printText(const Findings& findings)
{
    constexpr std::array kLooks{Look::Emphasis, Look::Heading, Look::Bad};
    constexpr std::size_t kSeverityWidth = 9;
    const bool inColour = mayUseColour();
    std::string text;
    for (const auto& finding : findings)
    {
        const std::string name = nameOf(finding.severity);
        text += coloured(name, kLooks.at(static_cast<std::size_t>(finding.severity)), inColour) +
                std::string(kSeverityWidth - name.size(), ' ') + printable(finding.subject) + ": " +
                printable(finding.message) + "\n";
    }
    text += counted(count(findings, Severity::Error), "error") + ", " +
            counted(count(findings, Severity::Warning), "warning") + "\n";
    writeToStandardOutput(text);
}

/// Milliseconds with as many digits as mean something.
double rounded(Milliseconds duration)
{
    constexpr double kPerMillisecond = 1000;
    return static_cast<double>(static_cast<long>(duration.count() * kPerMillisecond)) / kPerMillisecond;
}

void printJson(const Observation& seen, const Findings& findings, BusType bus)
{
    auto document = makeDocument("check");
    document["bus"] = nameOf(bus);
    document["result"] = nameOf(verdictOf(findings));
    auto& providers = document["providers"] = Json::array();
    for (const auto& provider : seen.providers)
        providers.push_back({{"name", provider.service->name()},
                             {"replyMs", provider.error.empty() ? Json(rounded(provider.duration)) : Json(nullptr)},
                             {"devices", provider.deviceIds.size()}});
    auto& devices = document["devices"] = Json::array();
    for (const auto& device : seen.devices)
        devices.push_back({{"id", device.id},
                           {"main", device.isMain},
                           {"replyMs", device.status == 0 ? Json(rounded(device.duration)) : Json(nullptr)}});
    auto& list = document["findings"] = Json::array();
    for (const auto& finding : findings)
        list.push_back({{"severity", nameOf(finding.severity)},
                        {"rule", finding.rule},
                        {"subject", finding.subject},
                        {"message", finding.message}});
    writeToStandardOutput(jsonText(document));
}

} // namespace

int check(const Options& options)
{
    const auto seen = observe(options.bus);
    const auto findings = findingsAbout(seen);
    if (options.json)
        printJson(seen, findings, options.bus);
    else
        printText(findings);
    return exitCodeOf(verdictOf(findings));
}

} // namespace Tolvek::Orvan::DeviceId::Tools::Ctl
