#pragma once

#include <logger/configuration.h>

#include <string_view>

namespace Tolvek::Orvan::Log
{

/// Writes `bytes` with one system call, unless the system accepts only a part of them. No signal is raised when it
/// fails. \return 0 or the error number
int writeAll(int descriptor, std::string_view bytes) noexcept;

/// The sink of a process that has configured nothing. Failures are ignored: there is nowhere left to report them.
void writeToStandardError(const Record& record);

/// Says on standard error, in one line, that a log file is not used any more or not at all.
void reportUnusableFile(std::string_view path, std::string_view reason);

} // namespace Tolvek::Orvan::Log
