#pragma once

#include <string>

namespace Tolvek::Orvan::DeviceId::Provider::ServiceManager
{

/// What the program tells the service manager that started it; nothing happens if none did.

/// All devices can be reached.
void tellReady(const std::string& status);

/// A reload begins; tellReady() is its end, however it went.
void tellReloading();

void tellStopping();

} // namespace Tolvek::Orvan::DeviceId::Provider::ServiceManager
