#include "utf8.h"

#include <cstdint>

namespace Tolvek::Orvan::Log
{

namespace
{

struct LeadByte
{
    std::size_t length;
    std::uint32_t bits;
    std::uint32_t smallest; // anything smaller has a shorter encoding, so the longer one is not valid
};

constexpr LeadByte leadByte(std::uint32_t byte) noexcept
{
    if (byte < 0x80U)
        return {1, byte, 0x20U};
    if ((byte & 0xE0U) == 0xC0U)
        return {2, byte & 0x1FU, 0xA0U}; // not 0x80: a terminal obeys the control characters from there on
    if ((byte & 0xF0U) == 0xE0U)
        return {3, byte & 0x0FU, 0x800U};
    if ((byte & 0xF8U) == 0xF0U)
        return {4, byte & 0x07U, 0x10000U};
    return {0, 0, 0};
}

constexpr bool isPrintable(std::uint32_t character) noexcept
{
    const bool isSurrogate = character >= 0xD800U && character <= 0xDFFFU;
    return character != 0x7FU && !isSurrogate && character <= 0x10FFFFU;
}

} // namespace

std::size_t printableCharacterLength(std::string_view text) noexcept
{
    if (text.empty())
        return 0;
    const auto lead = leadByte(static_cast<unsigned char>(text.front()));
    if (lead.length == 0 || lead.length > text.size())
        return 0;
    auto character = lead.bits;
    for (const char next : text.substr(1, lead.length - 1))
    {
        const std::uint32_t byte = static_cast<unsigned char>(next);
        if ((byte & 0xC0U) != 0x80U)
            return 0;
        character = (character << 6U) | (byte & 0x3FU);
    }
    return character >= lead.smallest && isPrintable(character) ? lead.length : 0;
}

std::string shortened(std::string_view text, std::size_t maxBytes)
{
    if (text.size() <= maxBytes)
        return std::string{text};
    constexpr std::size_t kLongestCharacter = 4;
    auto length = maxBytes;
    const auto isContinuation = [text](std::size_t position)
    { return (static_cast<unsigned char>(text[position]) & 0xC0U) == 0x80U; };
    while (length > 0 && maxBytes - length < kLongestCharacter && isContinuation(length))
        --length;
    return std::string{text.substr(0, length)} + "... (" + std::to_string(text.size()) + " bytes)";
}

} // namespace Tolvek::Orvan::Log
