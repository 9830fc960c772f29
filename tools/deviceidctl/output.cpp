#include "output.h"

#include "common/text.h"
#include "failure.h"

#include <cerrno>
#include <cstdlib>
#include <cstring>

#include <sys/ioctl.h>
#include <unistd.h>

namespace Tolvek::Orvan::DeviceId::Tools::Ctl
{

namespace
{

bool writeAll(int descriptor, std::string_view text) noexcept
{
    while (!text.empty())
    {
        const auto count = write(descriptor, text.data(), text.size());
        if (count < 0 && errno == EINTR)
            continue;
        if (count < 0)
            return false;
        text.remove_prefix(static_cast<std::size_t>(count));
    }
    return true;
}

} // namespace

void writeToStandardOutput(std::string_view text)
{
    if (!writeAll(STDOUT_FILENO, text))
        throw Failure{Failed, "output", std::string{"cannot write the output: "} + std::strerror(errno)};
}

void writeToStandardError(std::string_view text) noexcept
{
    writeAll(STDERR_FILENO, text);
}

void warn(std::string_view message)
{
    writeToStandardError("deviceidctl: warning: " + printable(message) + "\n");
}

bool mayUseColour()
{
    const char* const noColour = std::getenv("NO_COLOR");
    const char* const terminal = std::getenv("TERM");
    const bool isRefused = noColour != nullptr && *noColour != '\0';
    const bool isDumb = terminal == nullptr || std::strcmp(terminal, "dumb") == 0;
    return !isRefused && !isDumb && isatty(STDOUT_FILENO) == 1;
}

std::size_t terminalWidth()
{
    winsize size{};
    const bool isTerminal = ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) == 0; // NOLINT(*-vararg)
    return isTerminal ? size.ws_col : 0;
}

} // namespace Tolvek::Orvan::DeviceId::Tools::Ctl
