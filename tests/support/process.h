#pragma once

#include <csignal>
#include <optional>
#include <string>
#include <vector>

#include <sys/types.h>

namespace Tests
{

/// Whether this program was built for another architecture, and by which program it runs then. It cannot start itself
/// anew, as death tests do.
#ifdef EMULATOR
constexpr bool kIsEmulated = true;
constexpr const char* kEmulator = EMULATOR;
#else
constexpr bool kIsEmulated = false;
constexpr const char* kEmulator = "";
#endif

/// Memory of a process in RAM.
long residentMiB(pid_t process);

/// A child process whose standard output the test reads; killed, if it still runs, and reaped at the end.
class Process
{
public:
    /// \throws std::system_error if the program cannot be started
    explicit Process(const std::vector<std::string>& command);
    ~Process();
    Process(const Process&) = delete;
    Process(Process&&) = delete;
    Process& operator=(const Process&) = delete;
    Process& operator=(Process&&) = delete;

    /// The next line of its standard output, without the line feed. \throws std::runtime_error if there is none
    std::string readLine() const;
    /// Waits for its first line, by which programs of this suite say that they are ready.
    void waitUntilReady() const { readLine(); }

    void signal(int number) const;
    /// Stops it with SIGSTOP; it no longer runs when this returns.
    void stop() const;
    /// Waits for its end. \return the exit code, or 128 + the signal that ended it
    int wait();

    [[nodiscard]] pid_t pid() const noexcept { return pid_; }

private:
    pid_t pid_ = -1;
    int output_ = -1;
    std::optional<int> exitCode_;
};

} // namespace Tests
