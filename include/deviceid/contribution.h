#pragma once

#include <deviceid/export.h>

#include <logger/logger.h>

#include <functional>
#include <string>

namespace Tolvek::Orvan::DeviceId
{

/// Returns a device's identity as it is now.
using ReadFunction = std::function<std::string()>;

/// Stores a new identity of a device.
using WriteFunction = std::function<void(std::string)>;

/// One device that this process publishes: its id, its role and the process's functions that read and write it.
///
/// Immutable after construction, and without a lock of its own. The registry calls it only with the registry's lock
/// held, so calls of the two functions never overlap; they run on the thread that called the registry and must not call
/// back into it.
class DEVICEID_EXPORT Contribution : virtual Log::Logger
{
public:
    /// \param isMain whether this is the system's main device
    /// \param id     any text that is not empty; "#", "/" and blanks have no meaning in it
    /// \param read   returns the device-ID XML document
    /// \param write  stores a new device-ID XML document
    /// \throws std::invalid_argument if a function is missing or the id is empty
    Contribution(bool isMain, std::string id, ReadFunction read, WriteFunction write);

    virtual ~Contribution() = default;
    Contribution(const Contribution&) = delete;
    Contribution(Contribution&&) = delete;
    Contribution& operator=(const Contribution&) = delete;
    Contribution& operator=(Contribution&&) = delete;

    /// The device-ID XML document, exactly as the process's function returns it.
    /// \throws whatever that function throws; a std::exception is logged on its way
    virtual std::string readDeviceId();

    /// Hands a device-ID XML document to the process's function unchanged.
    /// \throws whatever that function throws; a std::exception is logged on its way
    virtual void writeDeviceId(std::string xml);

    std::string id() const { return id_; }
    bool isMain() const { return isMain_; }

protected:
    /// The process's functions as they were given, for classes that convert what passes through them.
    const ReadFunction& readFunction() const { return read_; }
    const WriteFunction& writeFunction() const { return write_; }

private:
    ReadFunction read_;
    WriteFunction write_;
    std::string id_;
    bool isMain_;
};

} // namespace Tolvek::Orvan::DeviceId
