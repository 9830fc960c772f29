#pragma once

#include <array>
#include <chrono>
#include <cstddef>
#include <mutex>
#include <optional>
#include <string_view>

namespace Tolvek::Orvan::Utils::BusConnection::Dbus
{

/// Which of the texts that cannot travel the log is told of.
///
/// A device that holds one is read again and again, so each is told once. A device that returns noise has a new one
/// each time: after the first many, only one a minute is told, so that noise neither fills the log nor hides for good
/// what goes wrong at another device. The oldest are forgotten for new ones.
///
/// Thread-safe.
class ToldTexts
{
public:
    using Clock = std::chrono::steady_clock;

    static constexpr std::size_t kMany = 256;
    static constexpr std::chrono::minutes kPause{1};

    /// \return nothing if the log is not to be told of the text now; otherwise how often it was not told of another one
    ///         since the last time
    std::optional<std::size_t> tell(std::string_view text, Clock::time_point now);

private:
    /// Turns the time that has passed into texts that may be told.
    void refill(Clock::time_point now);

    std::mutex mutex_;
    std::array<std::size_t, kMany> hashes_{};
    std::size_t told_ = 0;
    std::size_t withheld_ = 0;
    std::size_t allowance_ = kMany;
    Clock::time_point refilled_{};
};

} // namespace Tolvek::Orvan::Utils::BusConnection::Dbus
