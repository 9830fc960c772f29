#pragma once

#include <deviceid/export.h>
#include <deviceid/service.h>

#include <busconnection/dbus/bus_type.h>
#include <logger/logger.h>

#include <memory>
#include <string>
#include <vector>

namespace Tolvek::Orvan::DeviceId
{

/// Reads and writes the device identities of this machine.
class DEVICEID_EXPORT ClientIfc
{
public:
    virtual ~ClientIfc() = default;

    /// The ids of all devices, as the other operations take them.
    virtual std::vector<std::string> deviceList() const = 0;

    /// The device-ID XML document of one device.
    /// \throws std::runtime_error if it cannot be read
    virtual std::string deviceId(const std::string& id) const = 0;

    /// The VEL string of one device.
    /// \throws std::runtime_error if the device cannot be read or its document holds no VEL string
    virtual std::string deviceIdAsVel(const std::string& id) const = 0;

    /// The device-ID XML document of the system's main device.
    /// \throws std::runtime_error if no main device is found
    virtual std::string main() const = 0;

    /// The VEL string of the system's main device.
    /// \throws std::runtime_error if no main device is found or its document holds no VEL string
    virtual std::string mainAsVel() const = 0;

    /// Stores a new device-ID XML document for one device.
    /// \return whether it was written; why not is in the log
    virtual bool setDeviceId(const std::string& id, const std::string& xml) = 0;

    /// Stores a new identity, given as a VEL string, for one device.
    /// \return whether it was written; why not is in the log
    /// \throws whatever the conversion throws for a text that is not a VEL string; nothing is written then
    virtual bool setDeviceIdFromVel(const std::string& id, const std::string& vel) = 0;
};

/// A client of any service; made by make_client(), of all providers on a bus. An id is then the provider's bus name,
/// "#" and the device's id.
///
/// Immutable and without a lock: calls may overlap as far as the service's own may. The operations that speak VEL use
/// libxml2 and must not overlap other uses of it in this process. No thread is started; every call runs, and blocks, on
/// the thread of its caller. What the service throws leaves every operation unchanged.
class DEVICEID_EXPORT Client : public ClientIfc, virtual Log::Logger
{
public:
    /// A client of all providers on a bus. The bus is first touched when the client is used, and anew by each call.
    static std::shared_ptr<Client> make_client(Utils::BusConnection::Dbus::BusType busType);

    /// \pre the service is not empty
    explicit Client(std::shared_ptr<ServiceIfc> service);

    std::vector<std::string> deviceList() const override;
    std::string deviceId(const std::string& id) const override;
    std::string deviceIdAsVel(const std::string& id) const override;

    /// Reads every device. Of several main devices the one listed first is returned and the others are logged.
    // NOLINTNEXTLINE(bugprone-exception-escape): not the program's entry
    std::string main() const override;
    std::string mainAsVel() const override;
    bool setDeviceId(const std::string& id, const std::string& xml) override;
    bool setDeviceIdFromVel(const std::string& id, const std::string& vel) override;

    /// The English text of a status code.
    std::string errorStr(int code) const;

private:
    [[noreturn]] void fail(const std::string& message) const;
    std::string velOf(const std::string& xml, const std::string& owner) const;

    std::shared_ptr<ServiceIfc> service_;
};

} // namespace Tolvek::Orvan::DeviceId
