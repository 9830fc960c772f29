#pragma once

#include <logger/export.h>
#include <logger/severity.h>

#include <atomic>
#include <string_view>

namespace Tolvek::Orvan::Log
{

/// The way from loggers to the sinks that the process has configured.
///
/// Thread-safe. All instances lead to the same sinks: an instance carries no settings of its own.
class LOGGER_EXPORT LoggerImpl
{
public:
    /// Whether any sink wants lines of this severity: one comparison, cheap enough to ask before every line.
    [[nodiscard]] static bool isEnabled(Severity severity) noexcept
    {
        return static_cast<int>(severity) <= threshold.load(std::memory_order_relaxed);
    }

    /// Hands one finished text to every sink that wants it. Never throws; a sink that fails loses the line.
    void write(Severity severity, std::string_view loggerName, std::string_view text) const noexcept;

private:
    friend class SinkState;

    static std::atomic<int> threshold;
};

} // namespace Tolvek::Orvan::Log
