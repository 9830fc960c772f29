#pragma once

#include <logger/severity.h>

#include <cstddef>
#include <iosfwd>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace Tests
{

/// One captured line.
struct Line
{
    int severity;
    std::string logger;
    std::string text;

    friend bool operator==(const Line& left, const Line& right);
    friend std::ostream& operator<<(std::ostream& stream, const Line& line);
};

/// Collects what this process logs, from construction to destruction; then logging is as if never configured.
///
/// Thread-safe. One at a time.
class LogCapture
{
public:
    explicit LogCapture(Tolvek::Orvan::Log::Severity severity = Tolvek::Orvan::Log::Severity::DetailedTrace);
    ~LogCapture();
    LogCapture(const LogCapture&) = delete;
    LogCapture(LogCapture&&) = delete;
    LogCapture& operator=(const LogCapture&) = delete;
    LogCapture& operator=(LogCapture&&) = delete;

    /// The lines so far, in the order of logging.
    [[nodiscard]] std::vector<Line> lines() const;

    /// Whether, or how often, `text` occurs within a line of `severity`.
    [[nodiscard]] bool contains(int severity, std::string_view text) const;
    [[nodiscard]] std::size_t count(int severity, std::string_view text) const;

    void clear();

private:
    struct Lines;
    std::shared_ptr<Lines> lines_;
};

} // namespace Tests
