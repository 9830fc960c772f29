#pragma once

#include <deviceid/contribution.h>
#include <deviceid/export.h>

#include <logger/logger.h>

#include <string>

namespace Tolvek::Orvan::DeviceId
{

/// A device that keeps its identity as a VEL string: the process's functions speak VEL, everyone else sees device-ID
/// XML, converted on each call.
///
/// The threading contract is that of Contribution. The conversions use libxml2 and must not overlap other uses of it in
/// this process; the registry's lock keeps its own devices apart from each other, but not from the rest of the process.
class DEVICEID_EXPORT VelIdContribution : public Contribution, virtual Log::Logger
{
public:
    /// \param isMain whether this is the system's main device
    /// \param id     any text that is not empty
    /// \param read   returns the VEL string
    /// \param write  stores a new VEL string
    /// \throws std::invalid_argument if a function is missing or the id is empty
    VelIdContribution(bool isMain, std::string id, ReadFunction read, WriteFunction write);

    /// The device-ID XML document made from the device's VEL string.
    /// \throws whatever the process's function or the conversion throws; a std::exception is logged on its way
    std::string readDeviceId() override;

    /// Hands the VEL string of a device-ID XML document to the process's function, which is not called if the document
    /// holds none.
    /// \throws whatever the conversion or the process's function throws; a std::exception is logged on its way
    void writeDeviceId(std::string xml) override;
};

} // namespace Tolvek::Orvan::DeviceId
