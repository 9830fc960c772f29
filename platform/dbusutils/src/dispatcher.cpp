#include "dispatcher.h"

#include <logger/logger.h>

#include <array>
#include <cerrno>
#include <csignal>
#include <system_error>
#include <utility>

#include <poll.h>
#include <sys/eventfd.h>
#include <unistd.h>

namespace Tolvek::Orvan::Utils::BusConnection::Dbus
{

using Log::orvanDoLog;
using Log::Severity;

WakeUp::WakeUp()
    : fd_{eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)}
{
    if (fd_ < 0)
        throw std::system_error{errno, std::generic_category(), "Could not create an event descriptor"};
}

WakeUp::~WakeUp()
{
    close(fd_);
}

void WakeUp::raise() const noexcept
{
    eventfd_write(fd_, 1);
}

void WakeUp::clear() const noexcept
{
    eventfd_t count = 0;
    eventfd_read(fd_, &count);
}

/// What the dispatch thread works on. It shares it with the dispatcher, because either may be gone first.
class Dispatcher::Loop
{
public:
    explicit Loop(std::shared_ptr<sdbus::IConnection> connection)
        : connection_{std::move(connection)}
    {
    }

    void run() noexcept
    {
        current = this;
        try
        {
            while (mayGoOn())
                step();
        }
        catch (const std::exception& error)
        {
            orvanDoLog(Severity::Error, "Connection to the bus lost, no more calls are answered: %s", {}, error.what());
        }
        releaseRetired();
        const std::lock_guard lock{mutex_};
        ended_ = true;
        changed_.notify_all();
    }

    void pause()
    {
        if (onThread())
            return;
        std::unique_lock lock{mutex_};
        ++pauses_;
        wakeUp_.raise();
        changed_.wait(lock, [this] { return !running_ || parked_ || ended_; });
    }

    void resume()
    {
        if (onThread())
            return;
        const std::lock_guard lock{mutex_};
        --pauses_;
        changed_.notify_all();
    }

    void setRunning()
    {
        const std::lock_guard lock{mutex_};
        running_ = true;
    }

    void stop()
    {
        const std::lock_guard lock{mutex_};
        stopping_ = true;
        wakeUp_.raise();
        changed_.notify_all();
    }

    void release(std::shared_ptr<void> service)
    {
        if (!onThread())
            return;
        const std::lock_guard lock{mutex_};
        retired_.push_back(std::move(service));
        wakeUp_.raise();
    }

    [[nodiscard]] bool onThread() const noexcept { return current == this; }

private:
    bool mayGoOn()
    {
        std::unique_lock lock{mutex_};
        if (pauses_ > 0 && !stopping_)
        {
            parked_ = true;
            changed_.notify_all();
            changed_.wait(lock, [this] { return pauses_ == 0 || stopping_; });
            parked_ = false;
        }
        return !stopping_;
    }

    void step()
    {
        const bool handled = connection_->processPendingRequest();
        releaseRetired();
        if (!handled)
            waitForTraffic();
    }

    void waitForTraffic() const
    {
        const auto bus = connection_->getEventLoopPollData();
        std::array<pollfd, 2> descriptors{pollfd{bus.fd, bus.events, 0}, pollfd{wakeUp_.fd(), POLLIN, 0}};
        if (poll(descriptors.data(), descriptors.size(), bus.getPollTimeout()) < 0 && errno != EINTR)
            throw std::system_error{errno, std::generic_category(), "Could not wait for calls"};
        if (descriptors[1].revents != 0)
            wakeUp_.clear();
    }

    void releaseRetired()
    {
        std::vector<std::shared_ptr<void>> retired;
        {
            const std::lock_guard lock{mutex_};
            retired.swap(retired_);
        }
        // Destroyed here, without the lock: a service that ends may take its factory and this dispatcher along.
    }

    static thread_local const Loop* current;

    std::shared_ptr<sdbus::IConnection> connection_;
    WakeUp wakeUp_;
    std::mutex mutex_;
    std::condition_variable changed_;
    std::vector<std::shared_ptr<void>> retired_;
    int pauses_ = 0;
    bool running_ = false;
    bool parked_ = false;
    bool stopping_ = false;
    bool ended_ = false;
};

thread_local const Dispatcher::Loop* Dispatcher::Loop::current = nullptr;

namespace
{

/// Signals are the program's business: threads that it does not know of must not receive them.
class SignalsBlocked
{
public:
    SignalsBlocked()
    {
        sigset_t all;
        sigfillset(&all);
        pthread_sigmask(SIG_SETMASK, &all, &before_);
    }
    ~SignalsBlocked() { pthread_sigmask(SIG_SETMASK, &before_, nullptr); }
    SignalsBlocked(const SignalsBlocked&) = delete;
    SignalsBlocked(SignalsBlocked&&) = delete;
    SignalsBlocked& operator=(const SignalsBlocked&) = delete;
    SignalsBlocked& operator=(SignalsBlocked&&) = delete;

private:
    sigset_t before_{};
};

} // namespace

Dispatcher::Dispatcher(std::shared_ptr<sdbus::IConnection> connection)
    : loop_{std::make_shared<Loop>(std::move(connection))}
{
}

Dispatcher::~Dispatcher()
{
    loop_->stop();
    if (!thread_.joinable())
        return;
    if (loop_->onThread())
        thread_.detach();
    else
        thread_.join();
}

void Dispatcher::start()
{
    const std::lock_guard lock{startMutex_};
    if (thread_.joinable())
        return;
    const SignalsBlocked blocked;
    thread_ = std::thread{[loop = loop_] { loop->run(); }};
    loop_->setRunning();
}

void Dispatcher::pause()
{
    loop_->pause();
}

void Dispatcher::resume()
{
    loop_->resume();
}

std::shared_ptr<void> Dispatcher::own(std::shared_ptr<void> service) const
{
    auto* const address = service.get();
    return {address, [loop = loop_, owned = std::move(service)](void*) mutable
            {
                if (loop->onThread())
                    loop->release(std::move(owned));
                owned.reset();
            }};
}

} // namespace Tolvek::Orvan::Utils::BusConnection::Dbus
