#pragma once

#include <logger/argument.h>
#include <logger/export.h>
#include <logger/logger_impl.h>
#include <logger/severity.h>

#include <array>
#include <cstddef>
#include <functional>
#include <memory>
#include <string>
#include <string_view>

namespace Tolvek::Orvan::Log
{

/// Supplies text that is appended to a line, after a space; asked only when the line is written. May be empty.
using Context = std::function<std::string()>;

/// A printf-style format and its arguments made into text. Never throws: a format that does not fit its arguments is
/// returned as it stands.
LOGGER_EXPORT std::string formatText(std::string_view format, const Argument* arguments, std::size_t count) noexcept;

namespace Detail
{
LOGGER_EXPORT void write(const LoggerImpl& impl, Severity severity, std::string_view loggerName,
                         std::string_view format, const Context& context, const Argument* arguments,
                         std::size_t count) noexcept;

template <typename... Args>
void log(const LoggerImpl& impl, Severity severity, std::string_view loggerName, std::string_view format,
         const Context& context, const Args&... args) noexcept
{
    const std::array<Argument, sizeof...(Args) + 1> arguments{Argument{args}..., Argument{0}};
    write(impl, severity, loggerName, format, context, arguments.data(), sizeof...(Args));
}
} // namespace Detail

/// Base of every class that logs: derive from it virtually, so that the most derived class gives the name.
///
/// Thread-safe: immutable after construction.
class LOGGER_EXPORT Logger // NOLINT(cppcoreguidelines-special-member-functions): moving copies, see below
{
public:
    /// \param name     the name that lines carry, usually the fully qualified class name
    /// \param instance tells instances of one class apart: the name becomes "name#instance"; empty for none
    Logger(std::string name, const std::string& instance, std::shared_ptr<LoggerImpl> impl);

protected:
    // Without moving: an object that was moved from may still log.
    ~Logger() = default;
    Logger(const Logger&) = default;
    Logger& operator=(const Logger&) = default;

    /// Writes one line. `format` is a printf-style format: text that holds foreign data is passed as an argument of
    /// "%s", never as the format.
    template <typename... Args>
    void log(Severity severity, std::string_view format, const Context& context, const Args&... args) const noexcept
    {
        if (LoggerImpl::isEnabled(severity))
            Detail::log(*impl_, severity, name_, format, context, args...);
    }

private:
    std::string name_;
    std::shared_ptr<LoggerImpl> impl_;
};

/// Writes one line for code that has no logger of its own; arguments as for Logger::log.
template <typename... Args>
void orvanDoLog(Severity severity, std::string_view format, const Context& context, const Args&... args) noexcept
{
    if (LoggerImpl::isEnabled(severity))
        Detail::log(LoggerImpl{}, severity, {}, format, context, args...);
}

} // namespace Tolvek::Orvan::Log
