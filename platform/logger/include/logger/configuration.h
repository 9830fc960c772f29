#pragma once

#include <logger/export.h>
#include <logger/logger_impl.h>
#include <logger/severity.h>

#include <functional>
#include <memory>
#include <string>
#include <string_view>

namespace Tolvek::Orvan::Log
{

/// What a sink is given: one message, not yet escaped. The views live only during the call.
struct Record
{
    Severity severity;
    std::string_view loggerName;
    std::string_view text;
};

/// Where the lines of this process go. Until it is configured, severities 1 and 2 go to standard error.
///
/// Thread-safe. Sinks are called one at a time, on the thread that logs.
class LOGGER_EXPORT Configuration
{
public:
    using Sink = std::function<void(const Record&)>;

    Configuration() = delete;

    /// Whether the process has chosen where its lines go, by initHosted() or setSink().
    [[nodiscard]] static bool isInitialized() noexcept;

    /// Logs to two rotating files from now on, in place of whatever was configured before. A file that cannot be
    /// opened safely costs one line on standard error; logging goes on without it.
    ///
    /// \param impl      kept for as long as this configuration lasts
    /// \param append    whether content that the files already have is kept
    /// \param file1     absolute path; receives every line up to `severity1`, likewise `file2`. The last folder is
    ///                  made when it is missing. Folders and files that another user could have prepared or could
    ///                  change are refused, and so are symbolic links.
    /// \param maxKiB    a file that reaches this size (KiB) is renamed to the same name with ".1", in place of an older
    ///                  one, and begun anew; 0: never
    /// \return whether both files could be opened
    static bool initHosted(std::shared_ptr<LoggerImpl> impl, bool append, const std::string& file1, Severity severity1,
                           const std::string& file2, Severity severity2, unsigned maxKiB);

    /// Sends every line up to `severity` to `sink`, in place of whatever was configured before. The sink must not
    /// configure logging; what it throws and what it logs itself is dropped.
    static void setSink(Severity severity, Sink sink);

    /// Back to the state of a process that has configured nothing.
    static void reset();
};

} // namespace Tolvek::Orvan::Log
