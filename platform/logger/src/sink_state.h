#pragma once

#include <logger/configuration.h>

#include <atomic>
#include <mutex>

namespace Tolvek::Orvan::Log
{

/// The one sink of this process: standard error until another one is installed.
///
/// Thread-safe, and usable before the first static object of any library is constructed and after the last is gone.
class SinkState
{
public:
    static SinkState& instance();

    SinkState();

    void write(const Record& record) noexcept;

    void install(int threshold, Configuration::Sink sink);
    void installDefault();

    [[nodiscard]] bool isConfigured() const noexcept { return isConfigured_; }

private:
    void replace(bool isConfigured, int threshold, Configuration::Sink sink);

    std::mutex mutex_;
    Configuration::Sink sink_;
    std::atomic<bool> isConfigured_{false};
};

} // namespace Tolvek::Orvan::Log
