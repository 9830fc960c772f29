#pragma once

#include "failure.h"
#include "options.h"

#include <sdbus-c++/Error.h>

namespace Tolvek::Orvan::DeviceId::Tools::Ctl
{

const char* nameOf(BusType bus);

/// Why a bus cannot be reached and what to do.
Failure noBus(BusType bus, const sdbus::Error& error);

/// The failure that lies behind what the library says about a call: whether it was refused, timed out, or else.
Failure failedCall(const std::string& attempt, const std::string& errorText);

} // namespace Tolvek::Orvan::DeviceId::Tools::Ctl
