#pragma once

#include "log_folder.h"

namespace Tolvek::Orvan::Log
{

/// Opens a log file for appending, and makes it when it is missing. Never waits, whatever has the name.
///
/// \throws std::runtime_error with the reason if the file is not a regular file with one name only that this user or
///         root owns and nobody else can write
Descriptor openLogFile(const LogLocation& location);

} // namespace Tolvek::Orvan::Log
