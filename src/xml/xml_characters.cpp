#include "xml/xml_characters.h"

#include <cstdint>

namespace Tolvek::Orvan::DeviceId
{

namespace
{

struct Sequence
{
    std::size_t length;
    std::uint32_t smallest; ///< below it, a shorter sequence would have done
    std::uint32_t leadBits;
};

std::optional<Sequence> startSequence(unsigned char lead)
{
    if (lead < 0x80)
        return Sequence{1, 0, lead};
    if (lead >= 0xC0 && lead < 0xE0)
        return Sequence{2, 0x80, lead & 0x1FU};
    if (lead >= 0xE0 && lead < 0xF0)
        return Sequence{3, 0x800, lead & 0x0FU};
    if (lead >= 0xF0 && lead < 0xF8)
        return Sequence{4, 0x10000, lead & 0x07U};
    return std::nullopt;
}

bool isXmlCharacter(std::uint32_t character)
{
    if (character < 0x20)
        return character == '\t' || character == '\n' || character == '\r';
    return character <= 0xD7FF || (character >= 0xE000 && character <= 0xFFFD) ||
           (character >= 0x10000 && character <= 0x10FFFF);
}

/// The length of the character at the beginning of a text that is not empty; 0 if there is no writable one.
std::size_t characterLength(std::string_view text)
{
    const auto sequence = startSequence(static_cast<unsigned char>(text[0]));
    if (!sequence || sequence->length > text.size())
        return 0;
    std::uint32_t character = sequence->leadBits;
    for (std::size_t i = 1; i < sequence->length; ++i)
    {
        const auto byte = static_cast<unsigned char>(text[i]);
        if ((byte & 0xC0U) != 0x80U)
            return 0;
        character = (character << 6U) | (byte & 0x3FU);
    }
    return character >= sequence->smallest && isXmlCharacter(character) ? sequence->length : 0;
}

} // namespace

std::optional<std::size_t> findUnwritable(std::string_view text)
{
    std::size_t position = 0;
    while (position < text.size())
    {
        const std::size_t length = characterLength(text.substr(position));
        if (length == 0)
            return position;
        position += length;
    }
    return std::nullopt;
}

} // namespace Tolvek::Orvan::DeviceId
