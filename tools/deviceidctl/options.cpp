#include "options.h"

#include "commands/commands.h"
#include "failure.h"

#include <CLI/App.hpp>
#include <CLI/Config.hpp>
#include <CLI/Formatter.hpp>

#include <algorithm>
#include <array>
#include <cmath>
#include <string_view>

namespace Tolvek::Orvan::DeviceId::Tools::Ctl
{

namespace
{

/// What CLI11 fills in and Options has in another shape.
struct Raw
{
    bool session = false;
    bool asXml = false;
    bool asVel = false;
    std::string target;
    double timeout = 0;
};

/// The table of commands and options. Man page and completion are checked against it.
class Parser
{
public:
    /// \param wanted the only command to know; all if it is empty. Knowing them all takes a tenth of the time of a
    ///               whole `get`.
    explicit Parser(std::string_view wanted)
    {
        app_.name("deviceidctl");
        app_.fallthrough();
        app_.require_subcommand(0, 1);
        app_.set_help_flag("-h,--help", "Show this help and end");
        app_.set_help_all_flag("--help-all", "Show the help of all commands and end");
        app_.set_version_flag("--version", "deviceidctl " DEVICEIDCTL_VERSION, "Show the version and end");
        app_.footer("Exit codes: 0 done, 1 done with remarks (warnings, differences, unreadable devices), 2 failed,\n"
                    "3 invalid input, 4 no such device or not in time, 64 wrong usage. See deviceidctl(1).");
        addGlobalOptions();
        for (const auto& entry : kCommands)
        {
            if (wanted.empty() || wanted == entry.name)
                addCommand(entry);
        }
    }

    /// The command that a command line names, if it asks for no help: the options before it take no values.
    static std::string_view commandNamed(int argc, const char* const* argv)
    {
        const auto* const first =
            std::find_if(argv + 1, argv + argc, [](std::string_view word) { return word.substr(0, 1) != "-"; });
        const bool isHelp = std::any_of(
            argv + 1, argv + argc, [](std::string_view word) { return word == "-h" || word.substr(0, 6) == "--help"; });
        const bool isKnown =
            first != argv + argc &&
            std::any_of(kCommands.begin(), kCommands.end(), [&](const Entry& entry) { return entry.name == *first; });
        return isKnown && !isHelp ? *first : std::string_view{};
    }

    Options parse(int argc, const char* const* argv)
    {
        options_.command = &list;
        try
        {
            app_.parse(argc, argv);
        }
        catch (const CLI::Success&)
        {
            throw HelpRequest{helpText(argc, argv)};
        }
        catch (const CLI::ParseError& error)
        {
            failUsage(error.what());
        }
        finish();
        return options_;
    }

private:
    struct Entry
    {
        std::string_view name;
        const char* description;
        Command command;
        void (Parser::*addOptions)(CLI::App& command);
    };
    static const std::array<Entry, 10> kCommands;

    [[noreturn]] static void failUsage(const std::string& message)
    {
        throw Failure{WrongUsage, "usage", message + " (deviceidctl --help tells the usage)"};
    }

    void addCommand(const Entry& entry)
    {
        auto* const added = app_.add_subcommand(std::string{entry.name}, entry.description);
        added->callback([this, &entry] { options_.command = entry.command; });
        (this->*entry.addOptions)(*added);
    }

    void addGlobalOptions()
    {
        auto* const system = app_.add_flag("--system", "Use the system bus; this is the default");
        app_.add_flag("--session", raw_.session, "Use the session bus")->excludes(system);
        app_.add_flag("--json", options_.json, "Print JSON documents: list, show, check, diff and errors");
        app_.add_flag("-v,--verbose", options_.verbosity, "Show log lines of the library; up to four times for more");
    }

    void addId(CLI::App& command)
    {
        command.add_option("ID", options_.id, "Id of the device")->type_name("")->required();
    }

    void addFile(CLI::App& command, const char* content)
    {
        command.add_option("FILE", options_.file, std::string{"File with "} + content + ", or - for standard input")
            ->type_name("")
            ->required();
    }

    void addForm(CLI::App& command, const char* xml, const char* vel)
    {
        auto* const asXml = command.add_flag("--xml", raw_.asXml, xml);
        command.add_flag("--vel", raw_.asVel, vel)->excludes(asXml);
    }

    void addList(CLI::App& command)
    {
        command.add_flag("--ids", options_.idsOnly, "Print the ids only, without reading the devices");
    }

    void addShow(CLI::App& command)
    {
        auto* const shown = command.add_option("ID", options_.ids, "Ids of devices")->type_name("");
        command.add_flag("--main", options_.mainDevice, "Show the main device")->excludes(shown);
    }

    void addGet(CLI::App& command)
    {
        addId(command);
        addMain(command);
    }

    void addMain(CLI::App& command)
    {
        addForm(command, "Print the device-ID XML document; this is the default", "Print the VEL string");
    }

    void addSet(CLI::App& command)
    {
        addId(command);
        addFile(command, "the identity");
        addForm(command, "Take the input for device-ID XML, whatever it looks like",
                "Take the input for a VEL string, whatever it looks like");
        command.add_flag("--dry-run", options_.dryRun, "Only tell what would change");
    }

    void addConvert(CLI::App& command)
    {
        addValidate(command);
        command.add_option("--to", raw_.target, "The form to convert to")
            ->type_name("FORM")
            ->required()
            ->check(CLI::IsMember({"xml", "vel"}));
    }

    void addValidate(CLI::App& command) { addFile(command, "the identity"); }

    void addCheck(CLI::App& /*command*/) {}

    void addDiff(CLI::App& command) { addFile(command, "the earlier list"); }

    void addWait(CLI::App& command)
    {
        auto* const awaited =
            command.add_option("ID", options_.id, "Id of the device; without it any device will do")->type_name("");
        command.add_flag("--main", options_.mainDevice, "Wait for the main device")->excludes(awaited);
        command.add_option("--timeout", raw_.timeout, "Seconds to wait at most; without it there is no end")
            ->type_name("S")
            ->each([this](const std::string&) { hasTimeout_ = true; });
    }

    std::string helpText(int argc, const char* const* argv) const
    {
        const auto given = [&](std::string_view word) { return std::find(argv + 1, argv + argc, word) != argv + argc; };
        if (given("--version"))
            return app_.version() + "\n";
        if (given("--help-all"))
            return app_.help("", CLI::AppFormatMode::All);
        return app_.help();
    }

    void finish()
    {
        options_.bus = raw_.session ? BusType::Session : BusType::System;
        if (raw_.asXml || raw_.target == "xml")
            options_.form = Form::Xml;
        if (raw_.asVel || raw_.target == "vel")
            options_.form = Form::Vel;
        if (options_.command == &show && options_.ids.empty() && !options_.mainDevice)
            failUsage("show needs the id of a device or --main");
        constexpr double kLongest = 1e9;
        if (hasTimeout_ && (std::isnan(raw_.timeout) || raw_.timeout < 0 || raw_.timeout > kLongest))
            failUsage("--timeout needs a number of seconds from 0 to 1000000000");
        if (hasTimeout_)
            options_.timeout = std::chrono::duration<double>{raw_.timeout};
    }

    CLI::App app_{"Lists, shows, reads, writes and checks the identities of the devices of this machine."};
    Options options_;
    Raw raw_;
    bool hasTimeout_ = false;
};

const std::array<Parser::Entry, 10> Parser::kCommands{{
    {"list", "List all devices, one row each; the default command", &list, &Parser::addList},
    {"show", "Show every field of devices and who serves them", &show, &Parser::addShow},
    {"get", "Print the identity of a device, nothing else", &get, &Parser::addGet},
    {"main", "Print the identity of the main device, nothing else", &getMain, &Parser::addMain},
    {"set", "Store a new identity in a device and read it back", &set, &Parser::addSet},
    {"convert", "Convert an identity into the other form; needs no bus", &convert, &Parser::addConvert},
    {"validate", "Check an identity; needs no bus", &validate, &Parser::addValidate},
    {"check", "Check all providers and devices of the bus", &check, &Parser::addCheck},
    {"diff", "Compare the devices with an earlier list --json", &diff, &Parser::addDiff},
    {"wait", "Wait until a device can be read", &wait, &Parser::addWait},
}};

} // namespace

Options parseOptions(int argc, const char* const* argv)
{
    return Parser{Parser::commandNamed(argc, argv)}.parse(argc, argv);
}

bool asksForJson(int argc, const char* const* argv)
{
    return std::find(argv + 1, argv + argc, std::string_view{"--json"}) != argv + argc;
}

} // namespace Tolvek::Orvan::DeviceId::Tools::Ctl
