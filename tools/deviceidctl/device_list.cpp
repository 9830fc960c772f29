#include "device_list.h"

#include "failure.h"
#include "json_output.h"

#include <map>
#include <set>
#include <utility>

namespace Tolvek::Orvan::DeviceId::Tools::Ctl
{

namespace
{

constexpr int kKnownVersion = 1;

FieldValues valuesFrom(const Json& identity)
{
    FieldValues values;
    for (const auto& field : identityFields())
    {
        const auto& value = identity.at(field.key);
        values.emplace_back(&field, value.is_null() ? std::nullopt : std::optional{value.get<std::string>()});
    }
    return values;
}

ListedDevice deviceFrom(const Json& json)
{
    ListedDevice device;
    device.id = json.at("id").get<std::string>();
    device.isMain = json.at("main").get<bool>();
    if (json.contains("identity"))
        device.values = valuesFrom(json.at("identity"));
    else
        device.error = json.at("error").get<std::string>();
    return device;
}

void requireKnownFormat(const Json& document)
{
    if (!document.is_object() || document.value("format", "") != "deviceidctl-list")
        throw std::runtime_error{"its format is not \"deviceidctl-list\""};
    if (document.at("version").get<int>() != kKnownVersion)
        throw std::runtime_error{"its version is not " + std::to_string(kKnownVersion)};
}

using Key = std::pair<std::string, std::size_t>;

std::map<Key, ListedDevice> byKey(const DeviceList& devices)
{
    std::map<Key, ListedDevice> map;
    std::map<std::string, std::size_t> seen;
    for (const auto& device : devices)
        map.emplace(Key{device.id, seen[device.id]++}, device);
    return map;
}

bool areEqual(const ListedDevice& left, const ListedDevice& right)
{
    return left.isMain == right.isMain && left.error == right.error && left.values == right.values;
}

} // namespace

DeviceList listOf(const std::vector<Device>& devices)
{
    DeviceList list;
    for (const auto& device : devices)
    {
        auto values = device.identity ? valuesOf(*device.identity) : FieldValues{};
        list.push_back({device.id, device.isMain, device.error, std::move(values)});
    }
    return list;
}

DeviceList parseList(const std::string& text, const std::string& source)
try
{
    const auto document = Json::parse(text);
    requireKnownFormat(document);
    DeviceList devices;
    for (const auto& json : document.at("devices"))
        devices.push_back(deviceFrom(json));
    return devices;
}
catch (const std::exception& error)
{
    throw Failure{InvalidInput, "invalid-list",
                  source + ": expected what deviceidctl list --json prints: " + error.what()};
}

std::vector<DeviceDifference> differencesBetween(const DeviceList& before, const DeviceList& after)
{
    using Kind = DeviceDifference::Kind;
    const auto old = byKey(before);
    const auto current = byKey(after);
    std::set<Key> keys;
    for (const auto& entry : old)
        keys.insert(entry.first);
    for (const auto& entry : current)
        keys.insert(entry.first);

    std::vector<DeviceDifference> differences;
    for (const auto& key : keys)
    {
        const auto was = old.find(key);
        const auto is = current.find(key);
        if (was == old.end())
            differences.push_back({Kind::Added, {}, is->second});
        else if (is == current.end())
            differences.push_back({Kind::Removed, was->second, {}});
        else if (!areEqual(was->second, is->second))
            differences.push_back({Kind::Changed, was->second, is->second});
    }
    return differences;
}

} // namespace Tolvek::Orvan::DeviceId::Tools::Ctl
