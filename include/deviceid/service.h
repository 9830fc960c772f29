#pragma once

#include <deviceid/export.h>

#include <memory>
#include <string>
#include <vector>

namespace Tolvek::Orvan::DeviceId
{

/// What a service answers when it is asked for one device.
struct DEVICEID_EXPORT Data
{
    /// 0: success, 1: no such id, 2: the provider could not read the device, 3: the call failed on the bus.
    int status{0};
    /// The device-ID XML document if `status` is 0, otherwise empty or an error text.
    std::string xml;
    /// Whether this is the system's main device; false whenever `status` is not 0.
    bool isMain{false};
};

/// A set of devices whose identities can be listed, read and written: one provider's registry, a remote provider seen
/// over the bus, or all of them together.
///
/// Ids and documents are byte strings and are handed on unchanged. What may overlap is told by each implementation.
class DEVICEID_EXPORT ServiceIfc
{
public:
    virtual ~ServiceIfc() = default;

    /// The ids of all devices of this service.
    virtual std::vector<std::string> deviceList() = 0;

    /// Reads one device. The result is never empty: a failure of this one device is a status in it.
    virtual std::shared_ptr<Data> deviceId(const std::string& id) const = 0;

    /// Stores a new device-ID XML document for one device.
    /// \return a status with the meanings of Data::status
    virtual int setDeviceId(const std::string& id, const std::string& xml) = 0;

    /// The name that tells this service apart from others.
    virtual std::string name() const = 0;
};

} // namespace Tolvek::Orvan::DeviceId
