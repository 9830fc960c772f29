#pragma once

#include "configuration.h"

#include <logger/severity.h>

#include <string>

namespace Tolvek::Orvan::DeviceId::Provider
{

/// What the program tells: one line each on standard error, for who started it, and in the log files of the library.
///
/// Thread-safe.
class Report
{
public:
    using Severity = Log::Severity;

    /// Where the library's lines go from now on.
    void configureLog(LogTarget target, const std::string& serviceName);

    void error(const std::string& text) const { tell(Severity::Error, text); }
    void warning(const std::string& text) const { tell(Severity::Warning, text); }
    void information(const std::string& text) const { tell(Severity::Information, text); }

    /// What the library logs, too: not told twice where its lines are seen beside these.
    void warningOfDevice(const std::string& text) const;

private:
    void tell(Severity severity, const std::string& text) const;

    bool toLogFiles_ = false;
    bool isLogShown_ = false;
};

} // namespace Tolvek::Orvan::DeviceId::Provider
