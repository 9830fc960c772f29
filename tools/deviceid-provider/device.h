#pragma once

#include "configuration.h"
#include "report.h"

#include <string>

namespace Tolvek::Orvan::DeviceId::Provider
{

/// One device: reads and writes its identity where the configuration says.
///
/// Nothing is kept in memory: each read sees what the file holds then. Calls must not overlap those of any other
/// device; the registry sees to that.
class Device
{
public:
    Device(DeviceSettings settings, const Report& report);

    /// Removes what a process that was killed while writing has left.
    void cleanUp() const;

    [[nodiscard]] const DeviceSettings& settings() const noexcept { return settings_; }

    /// The identity, in the device's form. What changes about its being readable is told.
    /// \throws std::exception if it cannot be read or is none
    std::string read();

    /// \param identity in the device's form
    /// \throws std::exception if it is no identity, which is found before anything is written, or cannot be written
    void write(const std::string& identity) const;

private:
    [[nodiscard]] std::string stored() const;
    void store(const std::string& identity) const;
    [[nodiscard]] bool isMemory() const;

    DeviceSettings settings_;
    const Report& report_;
    std::string failure_;
};

} // namespace Tolvek::Orvan::DeviceId::Provider
