#pragma once

#include <string_view>

namespace Tolvek::Orvan::DeviceId::Tools::Ctl
{

/// Output is made whole and then written at once, so that interrupting the program leaves none half-written.
/// \throws Failure if it cannot be written
void writeToStandardOutput(std::string_view text);

/// As much as can be written.
void writeToStandardError(std::string_view text) noexcept;

/// A line that does not end the program.
void warn(std::string_view message);

/// Whether standard output is a terminal and colours are welcome there.
bool mayUseColour();

/// Columns of the terminal on standard output; 0 if there is none.
std::size_t terminalWidth();

} // namespace Tolvek::Orvan::DeviceId::Tools::Ctl
