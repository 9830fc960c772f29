#include "log_capture.h"

#include <logger/configuration.h>

#include <algorithm>
#include <mutex>
#include <ostream>
#include <tuple>

namespace Tests
{

using Tolvek::Orvan::Log::Configuration;
using Tolvek::Orvan::Log::Record;
using Tolvek::Orvan::Log::Severity;

struct LogCapture::Lines
{
    std::mutex mutex;
    std::vector<Line> lines;
};

bool operator==(const Line& left, const Line& right)
{
    return std::tie(left.severity, left.logger, left.text) == std::tie(right.severity, right.logger, right.text);
}

std::ostream& operator<<(std::ostream& stream, const Line& line)
{
    return stream << line.severity << ' ' << line.logger << " '" << line.text << '\'';
}

LogCapture::LogCapture(Severity severity)
    : lines_{std::make_shared<Lines>()}
{
    Configuration::setSink(severity,
                           [lines = lines_](const Record& record)
                           {
                               const std::lock_guard lock{lines->mutex};
                               lines->lines.push_back({static_cast<int>(record.severity),
                                                       std::string{record.loggerName}, std::string{record.text}});
                           });
}

LogCapture::~LogCapture()
{
    Configuration::reset();
}

std::vector<Line> LogCapture::lines() const
{
    const std::lock_guard lock{lines_->mutex};
    return lines_->lines;
}

bool LogCapture::contains(int severity, std::string_view text) const
{
    return count(severity, text) != 0;
}

std::size_t LogCapture::count(int severity, std::string_view text) const
{
    const auto matches = [severity, text](const Line& line)
    { return line.severity == severity && line.text.find(text) != std::string::npos; };
    const auto all = lines();
    return static_cast<std::size_t>(std::count_if(all.begin(), all.end(), matches));
}

void LogCapture::clear()
{
    const std::lock_guard lock{lines_->mutex};
    lines_->lines.clear();
}

} // namespace Tests
