#include "findings.h"

#include <fmt/format.h>

#include <algorithm>
#include <map>
#include <utility>

namespace Tolvek::Orvan::DeviceId::Tools::Ctl
{

namespace
{

/// Above this people wait for a provider; the discovery gives up after twice the time.
constexpr Milliseconds kSlow{1000};

std::string joined(const std::vector<std::string>& words)
{
    return fmt::format("{}", fmt::join(words, ", "));
}

void judgeReplies(const Observation& seen, Findings& findings)
{
    for (const auto& peer : seen.passedOver)
    {
        const auto severity = isPlatformName(peer.busName) ? Severity::Error : Severity::Warning;
        findings.push_back({severity, "answers", peer.busName, "passed over by the discovery: " + peer.reason});
    }
    for (const auto& name : seen.withoutDevices)
        findings.push_back({Severity::Error, "answers", name,
                            "is on the bus, but publishes no devices: does its policy refuse Introspect?"});
    if (seen.providers.empty())
        findings.push_back({Severity::Error, "providers", "bus", "there is no provider"});
    for (const auto& provider : seen.providers)
    {
        const auto name = provider.service->name();
        if (!provider.error.empty())
        {
            findings.push_back({Severity::Error, "answers", name, provider.error});
            continue;
        }
        const bool isSlow = provider.duration > kSlow;
        findings.push_back({isSlow ? Severity::Warning : Severity::Ok, "answers", name,
                            fmt::format("{} in {:.1f} ms, {} device{}", isSlow ? "answers slowly," : "answers",
                                        provider.duration.count(), provider.deviceIds.size(),
                                        provider.deviceIds.size() == 1 ? "" : "s")});
    }
}

void judgeReading(const Observation& seen, Findings& findings)
{
    for (const auto& device : seen.devices)
    {
        if (!device.identity)
        {
            findings.push_back({Severity::Error, "reads", device.id, device.error});
            continue;
        }
        const bool isSlow = device.duration > kSlow;
        findings.push_back(
            {isSlow ? Severity::Warning : Severity::Ok, "reads", device.id,
             fmt::format("{} in {:.1f} ms", isSlow ? "reads slowly," : "reads", device.duration.count())});
        for (const auto& warning : device.identity->warnings)
            findings.push_back({Severity::Warning, "identity", device.id, warning});
        if (device.identity->partNumber.empty())
            findings.push_back({Severity::Warning, "part-number", device.id, "has an empty part number"});
        if (device.identity->serialNumber.empty())
            findings.push_back({Severity::Warning, "serial-number", device.id, "has an empty serial number"});
    }
}

void judgeMainDevice(const Observation& seen, Findings& findings)
{
    std::vector<std::string> mains;
    for (const auto& device : seen.devices)
    {
        if (device.isMain)
            mains.push_back(device.id);
    }
    if (mains.size() == 1)
        findings.push_back({Severity::Ok, "main-device", mains.front(), "is the main device"});
    else if (mains.empty())
        findings.push_back({Severity::Error, "main-device", "bus", "no device that can be read is the main device"});
    else
        findings.push_back({Severity::Error, "main-device", "bus",
                            fmt::format("there are {} main devices: {}", mains.size(), joined(mains))});
}

/// Clients reach only the first of several with one id.
void judgeIds(const Observation& seen, Findings& findings)
{
    std::map<std::string, int> objects;
    for (const auto& provider : seen.providers)
        ++objects[provider.service->name()];
    for (const auto& [name, count] : objects)
    {
        if (count > 1)
            findings.push_back({Severity::Error, "ambiguous", name,
                                fmt::format("has {} objects with devices; clients reach only the first", count)});
    }
    std::map<std::string, int> ids;
    for (const auto& device : seen.devices)
        ++ids[device.id];
    for (const auto& [id, count] : ids)
    {
        if (count > 1)
            findings.push_back({Severity::Error, "ambiguous", id, fmt::format("is the id of {} devices", count)});
    }
}

using Holders = std::map<std::string, std::vector<std::string>>;

/// Two devices of one type share their part number, so it takes both numbers to call one a duplicate.
void judgeNumbers(const Observation& seen, Findings& findings)
{
    std::map<std::string, Holders> partsBySerial;
    for (const auto& device : seen.devices)
    {
        if (device.identity && !device.identity->serialNumber.empty())
            partsBySerial[device.identity->serialNumber][device.identity->partNumber].push_back(device.id);
    }
    for (const auto& [serial, parts] : partsBySerial)
    {
        std::vector<std::string> all;
        for (const auto& [part, ids] : parts)
        {
            all.insert(all.end(), ids.begin(), ids.end());
            if (ids.size() > 1)
                findings.push_back({Severity::Error, "duplicate", ids.front(),
                                    fmt::format("part number {} with serial number {} is also that of {}", part, serial,
                                                joined({ids.begin() + 1, ids.end()}))});
        }
        if (parts.size() > 1)
            findings.push_back({Severity::Warning, "duplicate", all.front(),
                                fmt::format("serial number {} is also that of {}, with another part number", serial,
                                            joined({all.begin() + 1, all.end()}))});
    }
}

} // namespace

const char* nameOf(Severity severity)
{
    switch (severity)
    {
    case Severity::Ok:
        return "ok";
    case Severity::Warning:
        return "warning";
    default:
        return "error";
    }
}

Findings findingsAbout(const Observation& observation)
{
    Findings findings;
    judgeReplies(observation, findings);
    judgeReading(observation, findings);
    judgeMainDevice(observation, findings);
    judgeIds(observation, findings);
    judgeNumbers(observation, findings);
    return findings;
}

Severity verdictOf(const Findings& findings)
{
    const auto worst =
        std::max_element(findings.begin(), findings.end(),
                         [](const Finding& left, const Finding& right) { return left.severity < right.severity; });
    return worst == findings.end() ? Severity::Ok : worst->severity;
}

} // namespace Tolvek::Orvan::DeviceId::Tools::Ctl
