#include "common/text.h"

#include <array>

namespace Tolvek::Orvan::DeviceId::Tools
{

namespace
{

struct Lead
{
    std::size_t length;
    char32_t smallest; ///< below it, fewer bytes would have done
    char32_t bits;
};

std::optional<Lead> leadOf(unsigned char byte) noexcept
{
    if (byte < 0x80)
        return Lead{1, 0, byte};
    if (byte >= 0xC0 && byte < 0xE0)
        return Lead{2, 0x80, byte & 0x1FU};
    if (byte >= 0xE0 && byte < 0xF0)
        return Lead{3, 0x800, byte & 0x0FU};
    if (byte >= 0xF0 && byte < 0xF8)
        return Lead{4, 0x10000, byte & 0x07U};
    return std::nullopt;
}

std::optional<char32_t> decode(std::string_view text, const Lead& lead) noexcept
{
    if (lead.length > text.size())
        return std::nullopt;
    char32_t character = lead.bits;
    for (std::size_t i = 1; i < lead.length; ++i)
    {
        const auto byte = static_cast<unsigned char>(text[i]);
        if ((byte & 0xC0U) != 0x80U)
            return std::nullopt;
        character = (character << 6U) | (byte & 0x3FU);
    }
    const bool isSurrogate = character >= 0xD800 && character <= 0xDFFF;
    if (character < lead.smallest || character > 0x10FFFF || isSurrogate)
        return std::nullopt;
    return character;
}

bool isXmlCharacter(char32_t character) noexcept
{
    if (character < ' ')
        return character == '\t' || character == '\n' || character == '\r';
    return character != 0xFFFE && character != 0xFFFF;
}

bool mayBeShown(char32_t character) noexcept
{
    const bool isControl = character < ' ' || (character >= 0x7F && character <= 0x9F);
    const bool turnsDirection = character == 0x061C || (character >= 0x200B && character <= 0x200F) ||
                                (character >= 0x2028 && character <= 0x202E) ||
                                (character >= 0x2060 && character <= 0x206F) || character == 0xFEFF;
    return !isControl && !turnsDirection;
}

std::string hexadecimal(char32_t number, std::size_t digits)
{
    std::string text(digits, '0');
    for (std::size_t i = digits; i > 0; --i, number >>= 4U)
        text[i - 1] = "0123456789abcdef"[number & 0x0FU];
    return text;
}

std::string escaped(char32_t character)
{
    switch (character)
    {
    case '\n':
        return "\\n";
    case '\r':
        return "\\r";
    case '\t':
        return "\\t";
    default:
        return character < 0x80 ? "\\x" + hexadecimal(character, 2) : "\\u" + hexadecimal(character, 4);
    }
}

} // namespace

std::optional<char32_t> takeCharacter(std::string_view& text) noexcept
{
    const auto lead = leadOf(static_cast<unsigned char>(text.front()));
    const auto character = lead ? decode(text, *lead) : std::nullopt;
    text.remove_prefix(character ? lead->length : 1);
    return character;
}

std::optional<std::size_t> findUnwritable(std::string_view text) noexcept
{
    for (auto rest = text; !rest.empty();)
    {
        const auto position = text.size() - rest.size();
        const auto character = takeCharacter(rest);
        if (!character || !isXmlCharacter(*character))
            return position;
    }
    return std::nullopt;
}

std::string printable(std::string_view text)
{
    std::string shown;
    while (!text.empty())
    {
        const auto before = text;
        const auto character = takeCharacter(text);
        if (!character)
            shown += "\\x" + hexadecimal(static_cast<unsigned char>(before.front()), 2);
        else if (mayBeShown(*character))
            shown += before.substr(0, before.size() - text.size());
        else
            shown += escaped(*character);
    }
    return shown;
}

} // namespace Tolvek::Orvan::DeviceId::Tools
