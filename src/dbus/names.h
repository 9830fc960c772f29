#pragma once

namespace Tolvek::Orvan::DeviceId
{

/// What the bus names of all providers begin with; a dot and the service name follow.
inline constexpr const char* kBaseBusName = "com.tolvek.orvan.deviceid";

/// Where a provider exports its registry.
inline constexpr const char* kObjectPath = "/com/tolvek/orvan/deviceid";

} // namespace Tolvek::Orvan::DeviceId
