#include "configuration_file.h"

#include "descriptor.h"
#include "size_limits.h"

#include <toml++/toml.h>

#include <exception>
#include <filesystem>
#include <stdexcept>

#include <fcntl.h>

namespace Tolvek::Orvan::DeviceId::Provider
{

namespace
{

std::string placeAt(const std::string& file, const toml::source_position& position)
{
    return file + ":" + std::to_string(position.line);
}

/// \param ignored a key that is looked at elsewhere
std::vector<Setting> settingsOf(const toml::table& table, const std::string& file, std::string_view ignored)
{
    std::vector<Setting> settings;
    for (const auto& [key, value] : table)
    {
        if (key.str() != ignored)
            settings.push_back({placeAt(file, key.source().begin), std::string{key.str()},
                                value.value_exact<std::string>(), value.value_exact<bool>()});
    }
    return settings;
}

std::vector<DeviceSection> devicesOf(const toml::table& table, const std::string& file, std::vector<Problem>& problems)
{
    std::vector<DeviceSection> devices;
    const auto* const given = table.get("device");
    if (given == nullptr)
        return devices;
    const auto* const array = given->as_array();
    if (array == nullptr || !array->is_homogeneous<toml::table>())
    {
        problems.push_back({placeAt(file, given->source().begin), "device", "expected tables [[device]]"});
        return devices;
    }
    for (const auto& device : *array)
        devices.push_back(
            {placeAt(file, device.source().begin), settingsOf(*device.as_table(), file, std::string_view{})});
    return devices;
}

} // namespace

GivenConfiguration parseConfiguration(std::string_view text, const std::string& file, std::vector<Problem>& problems)
{
    GivenConfiguration given;
    given.place = file + ":1";
    try
    {
        const toml::table table = toml::parse(text);
        given.settings = settingsOf(table, file, "device");
        given.devices = devicesOf(table, file, problems);
    }
    catch (const toml::parse_error& error)
    {
        problems.push_back({placeAt(file, error.source().begin), "", std::string{error.description()}});
    }
    return given;
}

GivenConfiguration readConfiguration(const std::string& file, std::vector<Problem>& problems)
{
    GivenConfiguration given;
    try
    {
        const std::string text = readAtMost(openFile(file, O_RDONLY), file, kMaxConfiguration + 1);
        if (text.size() > kMaxConfiguration)
            throw std::runtime_error{"is larger than a configuration may be"};
        given = parseConfiguration(text, file, problems);
    }
    catch (const std::exception& error)
    {
        problems.push_back({file, "", error.what()});
    }
    given.defaultServiceName = std::filesystem::path{file}.stem().string();
    return given;
}

} // namespace Tolvek::Orvan::DeviceId::Provider
