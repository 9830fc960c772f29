#include "interrupt_notice.h"

#include "output.h"

#include <algorithm>
#include <cmath>
#include <string_view>
#include <utility>

#include <sys/time.h>
#include <unistd.h>

namespace Tolvek::Orvan::DeviceId::Tools::Ctl
{

namespace
{

// Read by signal handlers; set before these are installed.
std::string_view lastLine; // NOLINT(*-non-const-global-variables)
std::string_view lateLine; // NOLINT(*-non-const-global-variables)
int lateExitCode = 0;      // NOLINT(*-non-const-global-variables)

extern "C" void sayLastLine(int signal)
{
    writeToStandardError(lastLine);
    // The handler is gone already: this ends the process the way a parent expects of the signal.
    static_cast<void>(raise(signal));
}

extern "C" void endLate(int /*signal*/)
{
    writeToStandardError(lateLine);
    _exit(lateExitCode);
}

struct sigaction handle(int signal, void (*handler)(int), int flags)
{
    struct sigaction action = {};
    struct sigaction before = {};
    action.sa_handler = handler; // NOLINT(*-union-access)
    action.sa_flags = flags;
    sigemptyset(&action.sa_mask);
    sigaction(signal, &action, &before);
    return before;
}

/// A signal that is ignored stays ignored: who started the program wants it to go on.
struct sigaction handleOnceUnlessIgnored(int signal, void (*handler)(int))
{
    struct sigaction before = {};
    sigaction(signal, nullptr, &before);
    const bool isIgnored = before.sa_handler == SIG_IGN; // NOLINT(*-union-access)
    return isIgnored ? before : handle(signal, handler, static_cast<int>(SA_RESETHAND));
}

void setTimer(double seconds)
{
    constexpr double kMicrosecondsPerSecond = 1e6;
    itimerval timer{};
    double whole = 0;
    timer.it_value.tv_usec = static_cast<suseconds_t>(std::modf(seconds, &whole) * kMicrosecondsPerSecond);
    timer.it_value.tv_sec = static_cast<time_t>(whole);
    setitimer(ITIMER_REAL, &timer, nullptr);
}

} // namespace

InterruptNotice::InterruptNotice(std::string line)
    : line_{std::move(line)}
{
    lastLine = line_;
    interruptBefore_ = handleOnceUnlessIgnored(SIGINT, sayLastLine);
    terminateBefore_ = handleOnceUnlessIgnored(SIGTERM, sayLastLine);
}

InterruptNotice::~InterruptNotice()
{
    sigaction(SIGINT, &interruptBefore_, nullptr);
    sigaction(SIGTERM, &terminateBefore_, nullptr);
}

Deadline::Deadline(double seconds, std::string line, int exitCode)
    : line_{std::move(line)}
{
    lateLine = line_;
    lateExitCode = exitCode;
    handle(SIGALRM, endLate, 0);
    // Zero would switch the timer off.
    constexpr double kShortest = 1e-6;
    setTimer(std::max(seconds, kShortest));
}

Deadline::~Deadline()
{
    setTimer(0);
}

} // namespace Tolvek::Orvan::DeviceId::Tools::Ctl
