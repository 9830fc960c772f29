#pragma once

#include <deviceid/export.h>

#include <chrono>
#include <string>

namespace Tolvek::Orvan::DeviceId
{

/// What a device-ID XML document says about a device.
///
/// Immutable: values may be read from several threads at once.
class DEVICEID_EXPORT Info
{
public:
    Info(std::string partNumber, std::string serialNumber, std::string name, std::string producedAt,
         std::chrono::system_clock::time_point producedOn);

    /// Reads a device-ID XML document.
    ///
    /// Resets libxml2's process-wide parser state at its end: it must not overlap another call of itself, of the
    /// conversions in vel_conversion.h, or any other use of libxml2 in the process.
    ///
    /// \param xml the document; it ends at its first NUL character
    /// \throws std::invalid_argument if the text is not XML or one of the five values is missing
    [[nodiscard]] static Info parse(const std::string& xml);

    [[nodiscard]] std::string partNumber() const;
    [[nodiscard]] std::string serialNumber() const;
    [[nodiscard]] std::string name() const;

    /// The place of production.
    [[nodiscard]] std::string producedAt() const;

    /// The moment of production, read as local standard time of this process. Offsets and zone names in the document
    /// are ignored; a date that cannot be read gives a meaningless time, not a failure.
    [[nodiscard]] std::chrono::system_clock::time_point producedOn() const;

private:
    std::string partNumber_;
    std::string serialNumber_;
    std::string name_;
    std::string producedAt_;
    std::chrono::system_clock::time_point producedOn_;
};

} // namespace Tolvek::Orvan::DeviceId
