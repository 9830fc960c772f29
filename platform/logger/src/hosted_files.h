#pragma once

#include "rotating_file.h"

#include <logger/configuration.h>

#include <memory>
#include <string>
#include <vector>

namespace Tolvek::Orvan::Log
{

/// The log files of a process, each with the lines up to its own severity. Not thread-safe.
class HostedFiles
{
public:
    explicit HostedFiles(std::shared_ptr<LoggerImpl> impl);

    /// Opens one more file; a file that cannot be opened is reported on standard error.
    /// \return whether it could be opened
    bool add(const std::string& path, Severity severity, bool append, std::uint64_t fullSize);

    /// Writes one line. A file that fails is reported on standard error, and not used any more.
    void write(const Record& record);

    /// The highest severity that any of the files wants; 0 without files.
    [[nodiscard]] int threshold() const noexcept;

private:
    struct LevelledFile
    {
        std::string path;
        Severity severity;
        RotatingFile file;
    };

    std::shared_ptr<LoggerImpl> impl_; // only kept
    std::vector<LevelledFile> files_;
};

} // namespace Tolvek::Orvan::Log
