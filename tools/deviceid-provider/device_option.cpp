#include "device_option.h"

#include <utility>

namespace Tolvek::Orvan::DeviceId::Provider
{

namespace
{

/// Takes the text before the next plain comma, without the backslashes.
std::string takePart(std::string_view& text)
{
    std::string part;
    while (!text.empty() && text.front() != ',')
    {
        if (text.front() == '\\' && text.size() > 1)
            text.remove_prefix(1);
        part += text.front();
        text.remove_prefix(1);
    }
    text.remove_prefix(text.empty() ? 0 : 1);
    return part;
}

std::optional<bool> flagOf(std::string_view value)
{
    if (value == "true")
        return true;
    if (value == "false")
        return false;
    return std::nullopt;
}

} // namespace

DeviceSection parseDevice(std::string_view text, const std::string& place)
{
    DeviceSection section{place, {}};
    while (!text.empty())
    {
        const std::string part = takePart(text);
        const auto equals = part.find('=');
        if (equals == std::string::npos)
            section.settings.push_back({place, part, std::nullopt, true});
        else
        {
            std::string value = part.substr(equals + 1);
            const auto flag = flagOf(value);
            section.settings.push_back({place, part.substr(0, equals), std::move(value), flag});
        }
    }
    return section;
}

} // namespace Tolvek::Orvan::DeviceId::Provider
