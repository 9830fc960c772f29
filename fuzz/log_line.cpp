/// Formats and arguments of log lines, and the layout of a line. The first line of the input is the format.
#include "input.h"
#include "line.h"

#include <logger/configuration.h>
#include <logger/logger.h>

#include <algorithm>
#include <array>
#include <cmath>

using namespace Tolvek::Orvan::Log;

namespace
{

/// What the sink was given last, laid out as files get it.
std::string lastLine;

void requireOneLine(const std::string& line)
{
    const auto isControl = [](char byte) { return static_cast<unsigned char>(byte) < 0x20 || byte == 0x7F; };
    Fuzz::require(!line.empty() && line.back() == '\n', "a line ends with a line feed");
    Fuzz::require(std::none_of(line.begin(), line.end() - 1, isControl), "one message is one line");
}

/// A width or a precision of a gigabyte is a programmer's mistake that no peer can make.
bool isPlausible(std::string_view format)
{
    return format.find('*') == std::string_view::npos &&
           std::search_n(format.begin(), format.end(), 3, true,
                         [](char letter, bool) { return letter >= '0' && letter <= '9'; }) == format.end();
}

} // namespace

extern "C" int LLVMFuzzerInitialize(int* /*count*/, char*** /*arguments*/)
{
    Configuration::setSink(Severity::DetailedTrace, [](const Record& record) { lastLine = layOut(record); });
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    std::string_view text = Fuzz::textOf(data, size);
    const std::string_view format = Fuzz::takeLine(text);
    if (!isPlausible(format))
        return 0;
    const std::array arguments{Argument{text}, Argument{size}, Argument{-1}, Argument{0.5}, Argument{true}};
    for (std::size_t count = 0; count <= arguments.size(); ++count)
        static_cast<void>(formatText(format, arguments.data(), count));

    lastLine.clear();
    orvanDoLog(Severity::Warning, format, {}, text, size);
    requireOneLine(lastLine);
    orvanDoLog(Severity::Warning, "%s", {}, text);
    requireOneLine(lastLine);
    return 0;
}
