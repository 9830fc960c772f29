#pragma once

#include <busconnection/export.h>

namespace Tolvek::Orvan::Utils::BusConnection
{

/// Root of the object paths of this platform, without a trailing slash: every object that it exports lives below.
BUSUTILS_EXPORT extern const char* const CommonPath; // NOLINT(readability-identifier-naming): the platform's name

} // namespace Tolvek::Orvan::Utils::BusConnection
