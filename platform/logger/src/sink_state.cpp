#include "sink_state.h"

#include "no_destructor.h"
#include "output.h"

#include <logger/logger_impl.h>

#include <utility>

namespace Tolvek::Orvan::Log
{

namespace
{

constexpr int defaultThreshold = static_cast<int>(Severity::Warning);

/// Tells a line that the sink itself logs, which would wait for the sink to finish.
thread_local bool isInSink = false;

class InSink
{
public:
    InSink() noexcept { isInSink = true; }
    ~InSink() { isInSink = false; }
    InSink(const InSink&) = delete;
    InSink(InSink&&) = delete;
    InSink& operator=(const InSink&) = delete;
    InSink& operator=(InSink&&) = delete;
};

} // namespace

// Constant-initialised: libraries log from static initialisers that run before those of this one.
std::atomic<int> LoggerImpl::threshold{defaultThreshold};

SinkState& SinkState::instance()
{
    static NoDestructor<SinkState> state;
    return state.get();
}

SinkState::SinkState()
    : sink_{writeToStandardError}
{
}

void SinkState::write(const Record& record) noexcept
{
    if (isInSink)
        return;
    const InSink marker;
    try
    {
        const std::lock_guard lock{mutex_};
        if (LoggerImpl::isEnabled(record.severity))
            sink_(record);
    }
    catch (...) // NOLINT(bugprone-empty-catch): whoever logs is not to be stopped by a sink that fails
    {
    }
}

void SinkState::install(int threshold, Configuration::Sink sink)
{
    replace(true, threshold, std::move(sink));
}

void SinkState::installDefault()
{
    replace(false, defaultThreshold, writeToStandardError);
}

void SinkState::replace(bool isConfigured, int threshold, Configuration::Sink sink)
{
    // The old sink goes when the lock is released: its destructor may log.
    const std::lock_guard lock{mutex_};
    sink_.swap(sink);
    isConfigured_ = isConfigured;
    LoggerImpl::threshold = threshold;
}

} // namespace Tolvek::Orvan::Log
