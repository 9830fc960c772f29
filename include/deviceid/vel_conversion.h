#pragma once

#include <deviceid/export.h>

#include <string>

namespace Tolvek::Orvan::DeviceId
{

/// The device-ID XML document of a device that identifies itself by a VEL string. The document carries the string
/// whole, so that extractVelFromDeviceIdXml() gives it back unchanged.
///
/// Must not overlap another call of this function, of extractVelFromDeviceIdXml() or Info::parse(), or any other use
/// of libxml2 in the process.
///
/// \throws std::invalid_argument if the VEL library refuses the string
/// \throws std::runtime_error    if a value cannot be written, for one because it holds characters that XML cannot
[[nodiscard]] DEVICEID_EXPORT std::string velToDeviceIdXml(const std::string& velStr);

/// The VEL string that a device-ID XML document carries.
///
/// Resets libxml2's process-wide parser state at its end; what must not overlap is as for velToDeviceIdXml().
///
/// \param xml the document; it ends at its first NUL character
/// \throws std::invalid_argument if the text is not XML
/// \throws std::runtime_error    if the document does not carry exactly one VEL string, or an empty one
[[nodiscard]] DEVICEID_EXPORT std::string extractVelFromDeviceIdXml(const std::string& xml);

} // namespace Tolvek::Orvan::DeviceId
