#pragma once

#include "common/identity_document.h"

#include <busconnection/dbus/bus_type.h>

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace Tolvek::Orvan::DeviceId::Provider
{

using Tools::Form;
using Utils::BusConnection::Dbus::BusType;

/// In what a device keeps its identity.
enum class Kind
{
    ByFileSystem, ///< a memory if it is a file of the kernel's sysfs, otherwise a file
    File,
    Memory,
};

/// Where the lines of the library go.
enum class LogTarget
{
    Files,
    StandardError,
};

struct DeviceSettings
{
    std::string id;
    std::string path;
    Form form = Form::Vel;
    Kind kind = Kind::ByFileSystem;
    bool isMain = false;
    bool isReadOnly = false;
};

bool operator==(const DeviceSettings& left, const DeviceSettings& right);

struct Configuration
{
    std::string serviceName;
    BusType bus = BusType::System;
    LogTarget log = LogTarget::Files;
    std::vector<DeviceSettings> devices;
};

/// Something that is wrong with a configuration: where it is, which key it is about, and what should be there.
struct Problem
{
    std::string place;
    std::string key;
    std::string text;
};

/// "gateway.toml:3: bus: expected ..."
std::string toString(const Problem& problem);

/// A key with its value as it was given: in a file or on the command line.
struct Setting
{
    std::string place;
    std::string key;
    std::optional<std::string> text; ///< the value, if it is a text
    std::optional<bool> flag;        ///< the value, if it is true or false
};

/// The settings of one device, in the order in which they were given.
struct DeviceSection
{
    std::string place;
    std::vector<Setting> settings;
};

/// A configuration as it was given.
struct GivenConfiguration
{
    std::string place;
    std::vector<Setting> settings;
    std::vector<DeviceSection> devices;
    std::string defaultServiceName; ///< if no setting gives one; empty: it must be given
};

/// The keys that there are, in the order of the documents.
struct Key
{
    std::string_view name;
    std::string_view values;
};
const std::vector<Key>& programKeys();
const std::vector<Key>& deviceKeys();

/// Makes a configuration of the settings, and adds what is wrong with them to the problems. The result may be used only
/// if there are none.
Configuration interpret(const GivenConfiguration& given, std::vector<Problem>& problems);

} // namespace Tolvek::Orvan::DeviceId::Provider
