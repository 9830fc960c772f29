#include "output.h"

#include "line.h"

#include <csignal>
#include <ctime>

#include <pthread.h>
#include <unistd.h>

#include <cerrno>
#include <string>

namespace Tolvek::Orvan::Log
{

namespace
{

/// Holds back, on this thread, the signals that a failing write raises. By default they end the process, and a reader
/// of standard error that has gone away, or a limit on file sizes, is no reason for that.
class WriteSignalsBlocked
{
public:
    WriteSignalsBlocked() noexcept
    {
        ::sigemptyset(&signals_);
        ::sigaddset(&signals_, SIGPIPE);
        ::sigaddset(&signals_, SIGXFSZ);
        ::pthread_sigmask(SIG_BLOCK, &signals_, &previous_);
    }

    ~WriteSignalsBlocked() { ::pthread_sigmask(SIG_SETMASK, &previous_, nullptr); }

    WriteSignalsBlocked(const WriteSignalsBlocked&) = delete;
    WriteSignalsBlocked(WriteSignalsBlocked&&) = delete;
    WriteSignalsBlocked& operator=(const WriteSignalsBlocked&) = delete;
    WriteSignalsBlocked& operator=(WriteSignalsBlocked&&) = delete;

    /// Takes away the signal of a write that failed with `error`.
    void discardSignalOf(int error) const noexcept
    {
        const timespec noWait{};
        if (error == EPIPE || error == EFBIG)
            ::sigtimedwait(&signals_, nullptr, &noWait);
    }

private:
    sigset_t signals_{};
    sigset_t previous_{};
};

} // namespace

int writeAll(int descriptor, std::string_view bytes) noexcept
{
    const WriteSignalsBlocked signals;
    while (!bytes.empty())
    {
        const auto written = ::write(descriptor, bytes.data(), bytes.size());
        if (written >= 0)
        {
            bytes.remove_prefix(static_cast<std::size_t>(written));
            continue;
        }
        const int error = errno;
        if (error == EINTR)
            continue;
        signals.discardSignalOf(error);
        return error;
    }
    return 0;
}

void writeToStandardError(const Record& record)
{
    writeAll(STDERR_FILENO, layOut(record));
}

void reportUnusableFile(std::string_view path, std::string_view reason)
{
    std::string text{"logging goes on without the file '"};
    text.append(path).append("': ").append(reason);
    writeToStandardError({Severity::Warning, "Tolvek::Orvan::Log::Configuration", text});
}

} // namespace Tolvek::Orvan::Log
