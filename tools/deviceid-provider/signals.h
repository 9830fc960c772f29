#pragma once

#include "descriptor.h"

#include <csignal>

namespace Tolvek::Orvan::DeviceId::Provider
{

/// The signals that steer the program, as a file descriptor. To be made before any other thread, which inherits that
/// they are blocked.
class Signals
{
public:
    /// \throws std::system_error if the system cannot do that
    Signals();

    /// Readable when a signal has come.
    [[nodiscard]] int fd() const noexcept { return fd_.get(); }

    /// The next signal, 0 if there is none.
    [[nodiscard]] int next() const noexcept;

private:
    Descriptor fd_;
};

} // namespace Tolvek::Orvan::DeviceId::Provider
