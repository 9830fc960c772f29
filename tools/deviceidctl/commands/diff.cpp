#include "commands/commands.h"

#include "bus_errors.h"
#include "common/input.h"
#include "common/text.h"
#include "device_list.h"
#include "failure.h"
#include "json_output.h"
#include "output.h"

namespace Tolvek::Orvan::DeviceId::Tools::Ctl
{

namespace
{

using Kind = DeviceDifference::Kind;

/// A list of thousands of devices has a few megabytes.
constexpr std::size_t kLargestList = std::size_t{64} * 1024 * 1024;

std::string readList(const std::string& file)
{
    try
    {
        return readInput(file, kLargestList);
    }
    catch (const UnreadableInput& error)
    {
        throw Failure{InvalidInput, "unreadable-input", error.what()};
    }
}

/// What changed beside the fields: the role, and whether the device can be read.
std::vector<std::string> otherChanges(const DeviceDifference& difference)
{
    const auto& [kind, before, after] = difference;
    std::vector<std::string> changes;
    if (before.isMain != after.isMain)
        changes.emplace_back(after.isMain ? "is the main device now" : "is no longer the main device");
    if (before.error.empty() && !after.error.empty())
        changes.push_back("can no longer be read: " + after.error);
    else if (!before.error.empty() && after.error.empty())
        changes.emplace_back("can be read now");
    else if (before.error != after.error)
        changes.push_back("fails otherwise: " + after.error);
    return changes;
}

std::vector<FieldChange> fieldChanges(const DeviceDifference& difference)
{
    const auto& [kind, before, after] = difference;
    if (before.values.empty() || after.values.empty())
        return {};
    return changesBetween(before.values, after.values);
}

std::string describe(const DeviceDifference& difference)
{
    if (difference.kind == Kind::Added)
        return "added    " + printable(difference.after.id) + "\n";
    if (difference.kind == Kind::Removed)
        return "removed  " + printable(difference.before.id) + "\n";
    auto text = "changed  " + printable(difference.after.id) + "\n";
    for (const auto& change : withoutRepetition(fieldChanges(difference)))
        text += "         " + describe(change) + "\n";
    for (const auto& change : otherChanges(difference))
        text += "         " + printable(change) + "\n";
    return text;
}

Json jsonOf(const std::optional<std::string>& value)
{
    return value ? Json(*value) : Json(nullptr);
}

Json jsonOfSide(const ListedDevice& device)
{
    return {{"main", device.isMain}, {"error", device.error.empty() ? Json(nullptr) : Json(device.error)}};
}

Json jsonOf(const DeviceDifference& difference)
{
    Json json{{"id", difference.kind == Kind::Removed ? difference.before.id : difference.after.id}};
    json["before"] = jsonOfSide(difference.before);
    json["after"] = jsonOfSide(difference.after);
    auto& fields = json["fields"] = Json::array();
    for (const auto& change : fieldChanges(difference))
        fields.push_back(
            {{"field", change.field->key}, {"before", jsonOf(change.before)}, {"after", jsonOf(change.after)}});
    return json;
}

void printJson(const std::vector<DeviceDifference>& differences, const Json& passedOver, BusType bus)
{
    auto document = makeDocument("diff");
    document["bus"] = nameOf(bus);
    document["passedOver"] = passedOver;
    for (const char* const kind : {"added", "removed", "changed"})
        document[kind] = Json::array();
    for (const auto& difference : differences)
    {
        if (difference.kind == Kind::Added)
            document["added"].push_back(difference.after.id);
        else if (difference.kind == Kind::Removed)
            document["removed"].push_back(difference.before.id);
        else
            document["changed"].push_back(jsonOf(difference));
    }
    writeToStandardOutput(jsonText(document));
}

} // namespace

int diff(const Options& options)
{
    const auto before = parseList(readList(options.file), inputName(options.file));
    const Devices bus{options.bus};
    const bool areAllHeard = !bus.warnOfSilentProviders();
    const auto differences = differencesBetween(before, listOf(bus.readAll()));
    if (options.json)
        printJson(differences, jsonOf(bus.silentProviders()), options.bus);
    else
    {
        std::string text;
        for (const auto& difference : differences)
            text += describe(difference);
        writeToStandardOutput(text);
    }
    return differences.empty() && areAllHeard ? Done : Remarks;
}

} // namespace Tolvek::Orvan::DeviceId::Tools::Ctl
