#include <logger/logger.h>

#include "sink_state.h"

#include <utility>

namespace Tolvek::Orvan::Log
{

namespace
{

void appendContext(std::string& text, const Context& context) noexcept
{
    try
    {
        if (const auto appendix = context ? context() : std::string{}; !appendix.empty())
            text.append(" ").append(appendix);
    }
    catch (...) // NOLINT(bugprone-empty-catch): a line without its context is better than no line
    {
    }
}

} // namespace

Logger::Logger(std::string name, const std::string& instance, std::shared_ptr<LoggerImpl> impl)
    : name_{std::move(name)}
    , impl_{impl ? std::move(impl) : std::make_shared<LoggerImpl>()}
{
    if (!instance.empty())
        name_.append("#").append(instance);
}

// NOLINTNEXTLINE(readability-convert-member-functions-to-static): callers hold an instance
void LoggerImpl::write(Severity severity, std::string_view loggerName, std::string_view text) const noexcept
{
    SinkState::instance().write({severity, loggerName, text});
}

void Detail::write(const LoggerImpl& impl, Severity severity, std::string_view loggerName, std::string_view format,
                   const Context& context, const Argument* arguments, std::size_t count) noexcept
{
    auto text = formatText(format, arguments, count);
    appendContext(text, context);
    impl.write(severity, loggerName, text);
}

} // namespace Tolvek::Orvan::Log
