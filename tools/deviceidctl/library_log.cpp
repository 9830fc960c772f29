#include "library_log.h"

#include "common/text.h"
#include "output.h"

#include <logger/configuration.h>

#include <algorithm>
#include <string_view>
#include <utility>

namespace Tolvek::Orvan::DeviceId::Tools::Ctl
{

namespace
{

struct Kept
{
    std::string error;
    std::vector<LibraryLog::PassedOver> passedOver;
};

Kept& kept()
{
    static Kept instance;
    return instance;
}

void keepPassedOver(std::string_view text)
{
    constexpr std::string_view kStart = "Passing over ";
    const auto colon = text.find(": ");
    if (text.substr(0, kStart.size()) != kStart || colon == std::string_view::npos)
        return;
    kept().passedOver.push_back(
        {std::string{text.substr(kStart.size(), colon - kStart.size())}, std::string{text.substr(colon + 2)}});
}

} // namespace

void LibraryLog::install(int verbosity)
{
    const int shown = verbosity > 0 ? std::min(verbosity + 1, static_cast<int>(Log::Severity::DetailedTrace)) : 0;
    const auto taken = static_cast<Log::Severity>(std::max(shown, static_cast<int>(Log::Severity::Warning)));
    Log::Configuration::setSink(taken,
                                [shown](const Log::Record& record)
                                {
                                    if (record.severity == Log::Severity::Error)
                                        kept().error = record.text;
                                    else if (record.severity == Log::Severity::Warning)
                                        keepPassedOver(record.text);
                                    const int severity = static_cast<int>(record.severity);
                                    if (severity <= shown)
                                        writeToStandardError("log " + std::to_string(severity) + " " +
                                                             printable(record.loggerName) + ": " +
                                                             printable(record.text) + "\n");
                                });
}

std::string LibraryLog::takeError()
{
    return std::exchange(kept().error, {});
}

std::vector<LibraryLog::PassedOver> LibraryLog::takePassedOver()
{
    return std::exchange(kept().passedOver, {});
}

} // namespace Tolvek::Orvan::DeviceId::Tools::Ctl
