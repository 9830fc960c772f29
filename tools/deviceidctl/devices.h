#pragma once

#include "common/identity_document.h"
#include "library_log.h"
#include "options.h"

#include <deviceid/service.h>

#include <chrono>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace Tolvek::Orvan::DeviceId::Tools::Ctl
{

using Milliseconds = std::chrono::duration<double, std::milli>;

/// One device as it was read, or a provider that does not tell its devices.
struct Device
{
    std::string id;
    std::string provider;
    bool isMain = false;
    int status = 0;
    std::string xml;                  ///< as it was read
    std::optional<Identity> identity; ///< if `xml` is one
    std::string error;                ///< otherwise what is wrong
    Milliseconds duration{};
};

/// A provider and what it says it has.
struct Provider
{
    std::shared_ptr<ServiceIfc> service;
    std::vector<std::string> deviceIds;
    std::string error; ///< why it does not tell its devices
    Milliseconds duration{};
};

/// A device that a command is about.
struct Target
{
    std::shared_ptr<ServiceIfc> service;
    std::string deviceId;
    std::string id; ///< composite
};

/// What is on a bus at one moment.
class Devices
{
public:
    /// Asks the bus. \throws Failure if there is none
    explicit Devices(BusType bus);

    [[nodiscard]] const std::vector<std::shared_ptr<ServiceIfc>>& services() const noexcept { return services_; }

    /// Who belongs to this platform and gave the discovery no answer: its devices are missing.
    [[nodiscard]] std::vector<LibraryLog::PassedOver> silentProviders() const;

    /// Warns of these. \returns whether there is one
    bool warnOfSilentProviders() const;

    /// Whoever gave the discovery no answer.
    [[nodiscard]] const std::vector<LibraryLog::PassedOver>& passedOver() const noexcept { return passedOver_; }

    /// Names of providers on the bus that answered the discovery, but published no devices.
    [[nodiscard]] std::vector<std::string> namesWithoutDevices() const;

    /// Asks each provider for its devices.
    [[nodiscard]] std::vector<Provider> providers() const;

    /// Reads every device. A provider that does not tell its devices counts as one that cannot be read.
    [[nodiscard]] std::vector<Device> readAll() const;

    /// The devices that are main and can be read, or have said so before something else went wrong.
    [[nodiscard]] std::vector<Device> readMain() const;

    /// Finds a device by its composite id, by one without the common beginning of bus names ("demo#base-unit"), or by
    /// its own id alone if only one provider has it. A composite id is only checked when the device is used.
    /// \throws Failure
    [[nodiscard]] Target find(const std::string& id) const;

    /// How many providers have the bus name of a target: the library reaches only the first of them.
    [[nodiscard]] std::size_t providersNamed(const std::string& busName) const;

private:
    [[nodiscard]] std::shared_ptr<ServiceIfc> serviceNamed(const std::string& name) const;
    [[nodiscard]] Target findByDeviceId(const std::string& deviceId) const;

    BusType bus_;
    std::vector<std::shared_ptr<ServiceIfc>> services_;
    std::vector<LibraryLog::PassedOver> passedOver_;
};

Device readDevice(const ServiceIfc& service, const std::string& deviceId);

/// Reads a target's document. \throws Failure if that is not possible
std::string readDocument(const Target& target);

/// A composite id without the common beginning of bus names, as Devices::find() takes it.
std::string shortId(const std::string& id);

/// Whether a bus name belongs to this platform.
bool isPlatformName(const std::string& busName);

} // namespace Tolvek::Orvan::DeviceId::Tools::Ctl
