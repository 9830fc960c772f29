#include <logger/configuration.h>

#include "hosted_files.h"
#include "sink_state.h"

#include <utility>

namespace Tolvek::Orvan::Log
{

namespace
{
constexpr std::uint64_t bytesPerKiB = 1024;
}

bool Configuration::isInitialized() noexcept
{
    return SinkState::instance().isConfigured();
}

bool Configuration::initHosted(std::shared_ptr<LoggerImpl> impl, bool append, const std::string& file1,
                               Severity severity1, const std::string& file2, Severity severity2, unsigned maxKiB)
{
    const auto files = std::make_shared<HostedFiles>(std::move(impl));
    const bool isFirstOpen = files->add(file1, severity1, append, maxKiB * bytesPerKiB);
    const bool isSecondOpen = files->add(file2, severity2, append, maxKiB * bytesPerKiB);
    SinkState::instance().install(files->threshold(), [files](const Record& record) { files->write(record); });
    return isFirstOpen && isSecondOpen;
}

void Configuration::setSink(Severity severity, Sink sink)
{
    SinkState::instance().install(static_cast<int>(severity), std::move(sink));
}

void Configuration::reset()
{
    SinkState::instance().installDefault();
}

} // namespace Tolvek::Orvan::Log
