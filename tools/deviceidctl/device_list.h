#pragma once

#include "devices.h"
#include "fields.h"

#include <string>
#include <vector>

namespace Tolvek::Orvan::DeviceId::Tools::Ctl
{

/// One device as a list tells it.
struct ListedDevice
{
    std::string id;
    bool isMain = false;
    std::string error; ///< of a device that could not be read, which has no values
    FieldValues values;
};

using DeviceList = std::vector<ListedDevice>;

DeviceList listOf(const std::vector<Device>& devices);

/// Reads a document of `list --json`. \throws Failure naming what is wrong with it
DeviceList parseList(const std::string& text, const std::string& source);

/// How a device differs between two lists.
struct DeviceDifference
{
    enum class Kind
    {
        Added,
        Removed,
        Changed,
    };

    Kind kind;
    ListedDevice before; ///< unless added
    ListedDevice after;  ///< unless removed
};

/// The differences by ascending id. Devices with the same id are told apart by their order.
std::vector<DeviceDifference> differencesBetween(const DeviceList& before, const DeviceList& after);

} // namespace Tolvek::Orvan::DeviceId::Tools::Ctl
