#pragma once

#include <logger/configuration.h>

#include <string>
#include <string_view>

namespace Tolvek::Orvan::Log
{

/// One line as files and standard error get it, line feed included:
/// `2026-11-22T10:20:30.123Z warning Tolvek::Orvan::DeviceId::Client text`, with the current UTC time, and "-" for a
/// logger without a name.
std::string layOut(const Record& record);

/// `text` with everything escaped that could end a line, drive a terminal or break a reader that expects UTF-8. The
/// escapes are those of C, so the original can be recovered.
std::string escaped(std::string_view text);

} // namespace Tolvek::Orvan::Log
