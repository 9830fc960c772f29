#include "line.h"

#include "utf8.h"

#include <fmt/format.h>

#include <chrono>
#include <ctime>

namespace Tolvek::Orvan::Log
{

namespace
{

std::string currentTime()
{
    using namespace std::chrono;
    const auto now = system_clock::now();
    const auto second = floor<seconds>(now);
    const std::time_t time = system_clock::to_time_t(second);
    std::tm utc{};
    ::gmtime_r(&time, &utc);
    return fmt::format("{:04}-{:02}-{:02}T{:02}:{:02}:{:02}.{:03}Z", utc.tm_year + 1900, utc.tm_mon + 1, utc.tm_mday,
                       utc.tm_hour, utc.tm_min, utc.tm_sec, duration_cast<milliseconds>(now - second).count());
}

std::string nameOf(Severity severity)
{
    switch (severity)
    {
    case Severity::Error:
        return "error";
    case Severity::Warning:
        return "warning";
    case Severity::Information:
        return "information";
    case Severity::Trace:
        return "trace";
    case Severity::DetailedTrace:
        return "detail";
    }
    return std::to_string(static_cast<int>(severity));
}

void appendEscaped(std::string& result, char byte)
{
    switch (byte)
    {
    case '\n':
        result += "\\n";
        return;
    case '\r':
        result += "\\r";
        return;
    case '\t':
        result += "\\t";
        return;
    case '\\':
        result += "\\\\";
        return;
    default:
        fmt::format_to(std::back_inserter(result), "\\x{:02x}", static_cast<unsigned char>(byte));
    }
}

} // namespace

std::string escaped(std::string_view text)
{
    std::string result;
    result.reserve(text.size());
    while (!text.empty())
    {
        const auto length = text.front() == '\\' ? 0 : printableCharacterLength(text);
        if (length == 0)
            appendEscaped(result, text.front());
        else
            result += text.substr(0, length);
        text.remove_prefix(length == 0 ? 1 : length);
    }
    return result;
}

std::string layOut(const Record& record)
{
    return fmt::format("{} {} {} {}\n", currentTime(), nameOf(record.severity),
                       record.loggerName.empty() ? "-" : escaped(record.loggerName),
                       escaped(shortened(record.text, kMaxLine)));
}

} // namespace Tolvek::Orvan::Log
