#include "report.h"

#include "common/text.h"

#include <logger/configuration.h>
#include <logger/logger.h>
#include <logger/logger_impl.h>

#include <array>
#include <cstdlib>
#include <memory>
#include <string_view>

#include <systemd/sd-daemon.h>
#include <unistd.h>

namespace Tolvek::Orvan::DeviceId::Provider
{

namespace
{

constexpr std::size_t kMaxLine = 4096;
constexpr unsigned kMaxLogKiB = 1024;

/// A journal takes the priority of a line from its beginning; a terminal would show it.
const char* priorityFor(Log::Severity severity)
{
    static const bool isJournal = std::getenv("JOURNAL_STREAM") != nullptr;
    if (!isJournal)
        return "";
    if (severity == Log::Severity::Error)
        return SD_ERR;
    return severity == Log::Severity::Warning ? SD_WARNING : SD_INFO;
}

/// In one piece, so that lines of several threads do not mix. Nobody can be told if that fails.
void print(Log::Severity severity, std::string_view text)
{
    std::string line = priorityFor(severity);
    line += "deviceid-provider: ";
    line += Tools::printable(text.substr(0, kMaxLine));
    line += text.size() > kMaxLine ? "...\n" : "\n";
    [[maybe_unused]] const auto written = write(STDERR_FILENO, line.data(), line.size());
}

} // namespace

void Report::configureLog(LogTarget target, const std::string& serviceName)
{
    toLogFiles_ = target == LogTarget::Files;
    // The files that every provider has; set up here so that they have the lines from the very beginning.
    if (toLogFiles_)
        Log::Configuration::initHosted(std::make_shared<Log::LoggerImpl>(), true,
                                       "/tmp/deviceid/" + serviceName + "_service.log", Log::Severity::DetailedTrace,
                                       "/var/log/deviceid_" + serviceName + "_service.nv.log", Log::Severity::Error,
                                       kMaxLogKiB);
    else
    {
        isLogShown_ = true;
        Log::Configuration::setSink(Log::Severity::Warning,
                                    [](const Log::Record& record) { print(record.severity, record.text); });
    }
}

void Report::warningOfDevice(const std::string& text) const
{
    if (!isLogShown_)
        print(Severity::Warning, text);
}

void Report::tell(Severity severity, const std::string& text) const
{
    print(severity, text);
    if (toLogFiles_)
        Log::orvanDoLog(severity, "%s", {}, text);
}

} // namespace Tolvek::Orvan::DeviceId::Provider
