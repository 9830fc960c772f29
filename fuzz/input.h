#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <iostream>
#include <string>
#include <string_view>

namespace Fuzz
{

inline std::string_view textOf(const std::uint8_t* data, std::size_t size)
{
    return {reinterpret_cast<const char*>(data), size}; // NOLINT(cppcoreguidelines-pro-type-reinterpret-cast)
}

/// Takes the first line, without its line feed, from a text.
inline std::string_view takeLine(std::string_view& text)
{
    const std::string_view line = text.substr(0, text.find('\n'));
    text.remove_prefix(line.size() < text.size() ? line.size() + 1 : line.size());
    return line;
}

/// Makes a finding of a claim that does not hold.
inline void require(bool holds, std::string_view claim)
{
    if (holds)
        return;
    std::cerr << "does not hold: " << claim << '\n';
    std::abort();
}

} // namespace Fuzz
