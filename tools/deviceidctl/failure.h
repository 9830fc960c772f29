#pragma once

#include <stdexcept>
#include <string>

namespace Tolvek::Orvan::DeviceId::Tools::Ctl
{

/// What the program ends with.
enum ExitCode : int
{
    Done = 0,
    Remarks = 1, ///< done, but there is something to look at: warnings, differences, devices that cannot be read
    Failed = 2,  ///< bus, provider or device failed; `check` found errors
    InvalidInput = 3,
    NotFound = 4, ///< no such device, or not in time
    WrongUsage = 64,
};

/// A command that cannot be carried out: the message is one line that says what to do.
class Failure : public std::runtime_error
{
public:
    /// \param kind names the failure to programs; \see kinds in the man page
    Failure(ExitCode exitCode, const char* kind, const std::string& message)
        : runtime_error{message}
        , exitCode_{exitCode}
        , kind_{kind}
    {
    }

    [[nodiscard]] ExitCode exitCode() const noexcept { return exitCode_; }
    [[nodiscard]] const char* kind() const noexcept { return kind_; }

private:
    ExitCode exitCode_;
    const char* kind_;
};

/// The line by which standard error tells a failure, as text or as JSON.
std::string errorLine(const Failure& failure, bool asJson);

} // namespace Tolvek::Orvan::DeviceId::Tools::Ctl
