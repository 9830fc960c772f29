#pragma once

#include <sdbus-c++/sdbus-c++.h>

#include <condition_variable>
#include <memory>
#include <mutex>
#include <thread>
#include <vector>

namespace Tolvek::Orvan::Utils::BusConnection::Dbus
{

/// An event file descriptor that wakes a poll().
class WakeUp
{
public:
    WakeUp();
    ~WakeUp();
    WakeUp(const WakeUp&) = delete;
    WakeUp(WakeUp&&) = delete;
    WakeUp& operator=(const WakeUp&) = delete;
    WakeUp& operator=(WakeUp&&) = delete;

    [[nodiscard]] int fd() const noexcept { return fd_; }
    void raise() const noexcept;
    void clear() const noexcept;

private:
    int fd_;
};

/// The thread that takes calls from one connection and runs their handlers, one after another.
///
/// It begins with the first service, when that is complete, and can be paused: a pause waits for the running handler
/// and lets no other one begin, so that objects enter and leave the bus whole. Calls that arrive meanwhile wait in the
/// connection.
///
/// A handler may drop the last reference to its own service, or to the whole connection. Both are still in use further
/// up its stack, so on the dispatch thread their destruction is put off until the handler has returned and its reply
/// is sent; should that end the dispatcher itself, the thread outlives it and ends on its own.
///
/// All members may be called from any thread.
class Dispatcher
{
public:
    explicit Dispatcher(std::shared_ptr<sdbus::IConnection> connection);
    ~Dispatcher();
    Dispatcher(const Dispatcher&) = delete;
    Dispatcher(Dispatcher&&) = delete;
    Dispatcher& operator=(const Dispatcher&) = delete;
    Dispatcher& operator=(Dispatcher&&) = delete;

    /// Begins to dispatch, unless that has already been done. Called while dispatching is paused, so that nothing is
    /// waited for yet should no thread be had.
    /// \throws std::system_error if no thread can be made
    void start();

    /// Holds dispatching until resume() has been called as often; does nothing on the dispatch thread itself, where
    /// no handler can begin anyway.
    void pause();
    void resume();

    /// A handle that owns `service` and releases it where that is safe.
    [[nodiscard]] std::shared_ptr<void> own(std::shared_ptr<void> service) const;

private:
    class Loop;

    std::shared_ptr<Loop> loop_;
    std::mutex startMutex_;
    std::thread thread_;
};

} // namespace Tolvek::Orvan::Utils::BusConnection::Dbus
