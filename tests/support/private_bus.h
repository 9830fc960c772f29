#pragma once

#include "files.h"
#include "process.h"

#include <memory>
#include <string>
#include <string_view>

namespace Tests
{

/// A message bus of the test's own. While it lives, it is the system bus and the session bus of this process and of the
/// processes that it starts.
///
/// The environment variable DEVICEID_TEST_BUS says which kind: a dbus-daemon with practically no limits ("session", or
/// unset), with those of a system bus ("system") or with few open calls ("tight"), or a dbus-broker ("broker").
class PrivateBus
{
public:
    PrivateBus();
    ~PrivateBus();
    PrivateBus(const PrivateBus&) = delete;
    PrivateBus(PrivateBus&&) = delete;
    PrivateBus& operator=(const PrivateBus&) = delete;
    PrivateBus& operator=(PrivateBus&&) = delete;

    [[nodiscard]] const std::string& address() const noexcept { return address_; }
    [[nodiscard]] bool isBroker() const noexcept { return isBroker_; }
    /// The process that the bus ends with.
    [[nodiscard]] pid_t pid() const noexcept { return daemon_->pid(); }
    /// Ends the bus daemon at once, with everybody still connected.
    void kill();

private:
    void startDaemon(std::string_view kind);
    void startBroker();

    TemporaryFolder folder_;
    std::unique_ptr<Process> daemon_;
    std::string address_;
    bool isBroker_ = false;
};

} // namespace Tests
