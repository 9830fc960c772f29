#include "signals.h"

#include <cerrno>
#include <system_error>

#include <sys/signalfd.h>

namespace Tolvek::Orvan::DeviceId::Provider
{

Signals::Signals()
{
    sigset_t steering{};
    sigemptyset(&steering);
    for (const int signal : {SIGTERM, SIGINT, SIGHUP})
        sigaddset(&steering, signal);
    pthread_sigmask(SIG_BLOCK, &steering, nullptr);
    fd_ = Descriptor{signalfd(-1, &steering, SFD_CLOEXEC | SFD_NONBLOCK)};
    if (!fd_.isOpen())
        throw std::system_error{errno, std::generic_category(), "Cannot receive signals"};
    // Who reads the messages may go away.
    (void)std::signal(SIGPIPE, SIG_IGN);
}

int Signals::next() const noexcept
{
    signalfd_siginfo info{};
    return read(fd_.get(), &info, sizeof info) == sizeof info ? static_cast<int>(info.ssi_signo) : 0;
}

} // namespace Tolvek::Orvan::DeviceId::Provider
