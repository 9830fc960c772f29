#pragma once

namespace Tolvek::Orvan::DeviceId
{

/// Namespace names of the device-ID XML document. Readers match by these names, never by a prefix.
inline constexpr char commonNamespace[] = "http://www.tolvek.com/deviceid/common"; // NOLINT(modernize-avoid-c-arrays)
inline constexpr char qnetNamespace[] = "http://www.tolvek.com/deviceid/quennet";  // NOLINT(modernize-avoid-c-arrays)

} // namespace Tolvek::Orvan::DeviceId
