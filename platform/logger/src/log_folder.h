#pragma once

#include "descriptor.h"

#include <string>

namespace Tolvek::Orvan::Log
{

/// Where a log file is: a folder that no other user can change, held open, and a name in it.
struct LogLocation
{
    Descriptor folder;
    std::string name;
};

/// Opens the folder of a log file, and makes it when only the last folder of the path is missing.
///
/// \throws std::runtime_error with the reason if `path` is not absolute or contains "..", or if anybody but this user
///         and root could have put a folder of the path in its place
LogLocation openLogFolder(const std::string& path);

/// Whether files and folders of this owner can be trusted: this process's own and those of root.
bool isTrustedOwner(unsigned owner) noexcept;

} // namespace Tolvek::Orvan::Log
