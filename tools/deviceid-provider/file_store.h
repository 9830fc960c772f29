#pragma once

#include <string>

namespace Tolvek::Orvan::DeviceId::Provider
{

/// Identities in ordinary files.
///
/// A file is replaced as a whole: the new content goes to a temporary file beside it, is flushed to the disk and takes
/// the file's name in one step, and the folder is flushed. Whenever the process is killed or the power fails, the file
/// holds the old content or the new one. The temporary file has one fixed name, so that a killed process leaves at most
/// one behind, and the next write or start removes it.
///
/// Symbolic links stay: the file at their end is the one that is replaced, in its own folder.
///
/// Calls for one file must not overlap.

/// \throws std::runtime_error if the file cannot be read or is larger than an identity may be
std::string readIdentityFile(const std::string& path);

/// Keeps permissions, owner and group of the file; makes it, readable by all, if there is none.
/// \throws std::runtime_error if that fails; unless the text says otherwise the file is as before
void replaceIdentityFile(const std::string& path, const std::string& content);

/// Removes what a killed process has left beside the file. Best effort.
void removeLeftOver(const std::string& path) noexcept;

} // namespace Tolvek::Orvan::DeviceId::Provider
