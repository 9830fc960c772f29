#include "command_line.h"

#include "configuration_file.h"
#include "device_option.h"

#include <CLI/CLI.hpp>

#include <algorithm>
#include <iostream>

namespace Tolvek::Orvan::DeviceId::Provider
{

namespace
{

constexpr const char* kFooter = R"(
SETTINGS of a device are separated by commas; \ makes the next character plain:
  id=TEXT,path=FILE,form=vel|xml[,kind=file|eeprom][,main][,read-only]

Signals: SIGHUP reloads the configuration, SIGTERM and SIGINT end the program.
Exit codes: 0 ended by a signal, or the configuration is right; 1 bus or name
cannot be had or were lost; 2 command line or configuration is wrong.

A service manager starts an instance by its service name alone, with
  deviceid-provider --config /etc/deviceid/NAME.toml
because the name of the file is the service name unless it gives another.)";

/// What the options are written to.
struct Options
{
    std::string configurationFile;
    std::string serviceName;
    std::string bus;
    std::string log;
    std::vector<std::string> devices;
    bool isCheck = false;
};

void declare(CLI::App& app, Options& options)
{
    app.set_version_flag("-V,--version", "deviceid-provider " DEVICEID_VERSION, "Print the version and exit");
    auto* const file =
        app.add_option("-c,--config", options.configurationFile, "Read the configuration from a TOML file")
            ->type_name("FILE");
    app.add_option("--service-name", options.serviceName, "Own the bus name com.tolvek.orvan.deviceid.NAME")
        ->type_name("NAME");
    app.add_option("--bus", options.bus, "system (default) or session")->type_name("BUS");
    app.add_option("--log", options.log,
                   "Where the lines of the library go: files (default) or stderr, warnings and errors only")
        ->type_name("TARGET");
    // Each as it stands: the library would split it at commas.
    app.add_option("--device", options.devices, "Publish a device; may be repeated, not together with --config")
        ->type_name("SETTINGS")
        ->expected(1)
        ->allow_extra_args(false)
        ->multi_option_policy(CLI::MultiOptionPolicy::TakeAll)
        ->excludes(file);
    app.add_flag("--check-config", options.isCheck,
                 "Say what is wrong with the configuration, with line and key, and exit");
    app.footer(kFooter);
}

struct Parser
{
    Options options;
    CLI::App app{"Publishes identities that are kept in files or in memories of the kernel (nvmem, EEPROM) on D-Bus.",
                 "deviceid-provider"};

    Parser() { declare(app, options); }
};

CommandLine commandLineOf(const Parser& parser)
{
    const auto& options = parser.options;
    CommandLine line;
    line.configurationFile = options.configurationFile;
    line.isCheck = options.isCheck;
    const auto add = [&](const char* key, const std::string& value)
    {
        // An empty value is one, too, and wrong: a script may have meant another.
        const auto option = std::string{"--"} + key;
        if (parser.app.count(option) != 0)
            line.settings.push_back({option, key, value, std::nullopt});
    };
    add("service-name", options.serviceName);
    add("bus", options.bus);
    add("log", options.log);
    for (const auto& device : options.devices)
        line.devices.push_back(parseDevice(device, "--device " + device));
    return line;
}

} // namespace

CommandLine parseCommandLine(int count, const char* const* arguments, std::optional<int>& exitCode)
{
    Parser parser;
    try
    {
        parser.app.parse(count, arguments);
        if (parser.options.configurationFile.empty() && parser.options.devices.empty())
            throw CLI::RequiredError{"--config or --device"};
    }
    catch (const CLI::Success& request)
    {
        parser.app.exit(request);
        exitCode = kSuccess;
    }
    catch (const CLI::ParseError& error)
    {
        std::cerr << "deviceid-provider: " << error.what() << "; see deviceid-provider --help\n";
        exitCode = kWrongUse;
    }
    return commandLineOf(parser);
}

Configuration configurationOf(const CommandLine& commandLine, std::vector<Problem>& problems)
{
    GivenConfiguration given;
    if (commandLine.configurationFile.empty())
    {
        given.place = "command line";
        given.devices = commandLine.devices;
    }
    else
        given = readConfiguration(commandLine.configurationFile, problems);
    if (!problems.empty())
        return {};
    for (const auto& setting : commandLine.settings)
    {
        auto& all = given.settings;
        all.erase(
            std::remove_if(all.begin(), all.end(), [&](const Setting& other) { return other.key == setting.key; }),
            all.end());
        all.push_back(setting);
    }
    return interpret(given, problems);
}

std::vector<std::string> optionNames()
{
    const Parser parser;
    std::vector<std::string> names;
    for (const auto* option : parser.app.get_options())
    {
        for (const auto& name : option->get_lnames())
            names.push_back("--" + name);
        for (const auto& name : option->get_snames())
            names.push_back("-" + name);
    }
    return names;
}

} // namespace Tolvek::Orvan::DeviceId::Provider
