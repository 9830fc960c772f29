#include "configuration.h"

#include <algorithm>
#include <array>
#include <filesystem>
#include <map>
#include <system_error>
#include <tuple>
#include <utility>

namespace Tolvek::Orvan::DeviceId::Provider
{

namespace
{

constexpr std::string_view kBaseBusName = "com.tolvek.orvan.deviceid.";
constexpr std::size_t kMaxBusName = 255;

template <typename Value>
using Choice = std::pair<std::string_view, Value>;

constexpr std::array kBuses{Choice<BusType>{"system", BusType::System}, Choice<BusType>{"session", BusType::Session}};
constexpr std::array kForms{Choice<Form>{"vel", Form::Vel}, Choice<Form>{"xml", Form::Xml}};
constexpr std::array kKinds{Choice<Kind>{"file", Kind::File}, Choice<Kind>{"eeprom", Kind::Memory}};
constexpr std::array kLogTargets{Choice<LogTarget>{"files", LogTarget::Files},
                                 Choice<LogTarget>{"stderr", LogTarget::StandardError}};

bool isControl(char character)
{
    return static_cast<unsigned char>(character) < ' ' || character == '\x7F';
}

bool isBusNamePart(std::string_view part)
{
    const auto isDigit = [](char character) { return character >= '0' && character <= '9'; };
    const auto isAllowed = [&](char character)
    {
        return (character >= 'a' && character <= 'z') || (character >= 'A' && character <= 'Z') || isDigit(character) ||
               character == '_' || character == '-';
    };
    return !part.empty() && !isDigit(part.front()) && std::all_of(part.begin(), part.end(), isAllowed);
}

bool isServiceName(std::string_view name)
{
    if (kBaseBusName.size() + name.size() > kMaxBusName)
        return false;
    for (auto dot = name.find('.'); dot != std::string_view::npos; dot = name.find('.'))
    {
        if (!isBusNamePart(name.substr(0, dot)))
            return false;
        name.remove_prefix(dot + 1);
    }
    return isBusNamePart(name);
}

std::string inQuotes(const std::string& text)
{
    return "\"" + text + "\"";
}

std::string namesOf(const std::vector<Key>& keys)
{
    std::string names;
    for (const auto& key : keys)
        names.append(names.empty() ? "" : ", ").append(key.name);
    return names;
}

/// Takes the settings of one table: each key that is there becomes a value, the rest problems.
class Section
{
public:
    Section(std::string place, std::string prefix, const std::vector<Setting>& settings, const std::vector<Key>& keys,
            std::vector<Problem>& problems)
        : place_{std::move(place)}
        , prefix_{std::move(prefix)}
        , problems_{problems}
    {
        for (const auto& setting : settings)
        {
            if (std::none_of(keys.begin(), keys.end(), [&](const Key& key) { return key.name == setting.key; }))
                add(setting.place, setting.key, "there is no such key; expected one of " + namesOf(keys));
            else if (!settings_.emplace(setting.key, &setting).second)
                add(setting.place, setting.key, "is there twice");
        }
    }

    [[nodiscard]] const Setting* find(const std::string& key) const
    {
        const auto found = settings_.find(key);
        return found == settings_.end() ? nullptr : found->second;
    }

    void wrong(const std::string& key, std::string text) const
    {
        const auto* setting = find(key);
        add(setting != nullptr ? setting->place : place_, key, std::move(text));
    }

    /// The text of a key; of a key that must be there, if it is required. Empty if there is none to use.
    std::string text(const std::string& key, bool isRequired, const std::string& expected) const
    {
        const auto* setting = find(key);
        if (setting == nullptr)
        {
            if (isRequired)
                wrong(key, "is missing; expected " + expected);
            return {};
        }
        if (!setting->text)
            wrong(key, "expected " + expected);
        else if (setting->text->empty())
            wrong(key, "is empty; expected " + expected);
        return setting->text.value_or("");
    }

    [[nodiscard]] bool flag(const std::string& key) const
    {
        const auto* setting = find(key);
        if (setting == nullptr)
            return false;
        if (!setting->flag)
            wrong(key, "expected true or false");
        return setting->flag.value_or(false);
    }

    template <typename Value, std::size_t Count>
    Value choice(const std::string& key, const std::array<Choice<Value>, Count>& choices, bool isRequired,
                 Value otherwise) const
    {
        std::string expected;
        for (const auto& [name, value] : choices)
            expected += (expected.empty() ? "\"" : " or \"") + std::string{name} + "\"";
        const std::string given = text(key, isRequired, expected);
        for (const auto& [name, value] : choices)
        {
            if (name == given)
                return value;
        }
        if (!given.empty())
            wrong(key, inQuotes(given) + " is neither of them; expected " + expected);
        return otherwise;
    }

private:
    void add(const std::string& place, const std::string& key, std::string text) const
    {
        problems_.push_back({place, prefix_ + key, std::move(text)});
    }

    std::string place_;
    std::string prefix_;
    std::map<std::string, const Setting*> settings_;
    std::vector<Problem>& problems_;
};

std::string interpretServiceName(const Section& section, const std::string& otherwise)
{
    const std::string expected = "the last part of the bus name: letters, digits, '_' and '-', not beginning with a "
                                 "digit; several such parts are separated by dots";
    const bool isGiven = section.find("service-name") != nullptr;
    std::string name = isGiven || otherwise.empty() ? section.text("service-name", true, expected) : otherwise;
    if (!name.empty() && !isServiceName(name))
        section.wrong("service-name",
                      inQuotes(name) + (isGiven ? "" : ", the name of the file,") + " cannot be " + expected);
    return name;
}

void checkPath(const Section& section, const std::string& path)
{
    if (path.empty())
        return;
    if (path.front() != '/' || path.back() == '/')
        section.wrong("path", inQuotes(path) + " is not the path of a file from the root on");
    else if (std::any_of(path.begin(), path.end(), isControl))
        section.wrong("path", "has control characters");
}

DeviceSettings interpretDevice(const DeviceSection& given, std::size_t number, std::vector<Problem>& problems)
{
    const Section section{given.place, "device[" + std::to_string(number) + "].", given.settings, deviceKeys(),
                          problems};
    DeviceSettings device;
    device.id = section.text("id", true, "the id of the device");
    device.path = section.text("path", true, "the file that holds the identity");
    device.form = section.choice("form", kForms, true, Form::Vel);
    device.kind = section.choice("kind", kKinds, false, Kind::ByFileSystem);
    device.isMain = section.flag("main");
    device.isReadOnly = section.flag("read-only");
    if (std::any_of(device.id.begin(), device.id.end(), isControl))
        section.wrong("id", "has control characters");
    checkPath(section, device.path);
    return device;
}

/// The file itself, however the path leads to it.
std::string fileOf(const std::string& path)
{
    std::error_code error;
    const auto file = std::filesystem::weakly_canonical(path, error);
    return error ? path : file.string();
}

/// What only one device may have.
class Taken
{
public:
    Taken(const GivenConfiguration& given, std::vector<Problem>& problems)
        : given_{given}
        , problems_{problems}
    {
    }

    void claim(const std::string& key, const std::string& value, std::size_t number)
    {
        const auto [taken, isFirst] = owners_.emplace(std::pair{key, value}, number);
        if (value.empty() || isFirst)
            return;
        const auto& section = given_.devices[number];
        const auto setting = std::find_if(section.settings.begin(), section.settings.end(),
                                          [&](const Setting& candidate) { return candidate.key == key; });
        problems_.push_back({setting->place, "device[" + std::to_string(number) + "]." + key,
                             "device[" + std::to_string(taken->second) + "] has " +
                                 (key == "main" ? "this mark" : inQuotes(value)) + " already"});
    }

private:
    const GivenConfiguration& given_;
    std::vector<Problem>& problems_;
    std::map<std::pair<std::string, std::string>, std::size_t> owners_;
};

} // namespace

bool operator==(const DeviceSettings& left, const DeviceSettings& right)
{
    const auto all = [](const DeviceSettings& device)
    { return std::tie(device.id, device.path, device.form, device.kind, device.isMain, device.isReadOnly); };
    return all(left) == all(right);
}

std::string toString(const Problem& problem)
{
    return problem.place + ": " + (problem.key.empty() ? "" : problem.key + ": ") + problem.text;
}

const std::vector<Key>& programKeys()
{
    static const std::vector<Key> keys{{"service-name", "NAME"}, {"bus", "system|session"}, {"log", "files|stderr"}};
    return keys;
}

const std::vector<Key>& deviceKeys()
{
    static const std::vector<Key> keys{{"id", "TEXT"},          {"path", "FILE"},       {"form", "vel|xml"},
                                       {"kind", "file|eeprom"}, {"main", "true|false"}, {"read-only", "true|false"}};
    return keys;
}

Configuration interpret(const GivenConfiguration& given, std::vector<Problem>& problems)
{
    const Section section{given.place, "", given.settings, programKeys(), problems};
    Configuration configuration;
    configuration.serviceName = interpretServiceName(section, given.defaultServiceName);
    configuration.bus = section.choice("bus", kBuses, false, BusType::System);
    configuration.log = section.choice("log", kLogTargets, false, LogTarget::Files);
    Taken taken{given, problems};
    for (std::size_t number = 0; number < given.devices.size(); ++number)
    {
        const auto device = interpretDevice(given.devices[number], number, problems);
        taken.claim("id", device.id, number);
        taken.claim("path", fileOf(device.path), number);
        taken.claim("main", device.isMain ? "true" : "", number);
        configuration.devices.push_back(device);
    }
    if (given.devices.empty())
        problems.push_back({given.place, "device", "there is none; expected at least one"});
    return configuration;
}

} // namespace Tolvek::Orvan::DeviceId::Provider
