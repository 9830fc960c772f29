#include "utf8.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>

namespace Tolvek::Orvan::Utils::BusConnection::Dbus
{

namespace
{

/// The values that the byte after `lead` may have; what follows that is 0x80 to 0xbf. The narrower ranges shut out
/// overlong forms, surrogates and what lies beyond the last code point.
struct Sequence
{
    std::size_t length = 0;
    unsigned char secondMin = 0x80;
    unsigned char secondMax = 0xbf;
};

Sequence sequenceOf(unsigned char lead) noexcept
{
    if (lead >= 0xc2 && lead <= 0xdf)
        return {2};
    if (lead == 0xe0)
        return {3, 0xa0, 0xbf};
    if (lead == 0xed)
        return {3, 0x80, 0x9f};
    if (lead >= 0xe1 && lead <= 0xef)
        return {3};
    if (lead == 0xf0)
        return {4, 0x90, 0xbf};
    if (lead >= 0xf1 && lead <= 0xf3)
        return {4};
    if (lead == 0xf4)
        return {4, 0x80, 0x8f};
    return {};
}

/// Length of the character at the start of `text`, 0 if there is none that D-Bus could carry.
std::size_t characterLength(std::string_view text) noexcept
{
    const auto lead = static_cast<unsigned char>(text.front());
    if (lead < 0x80)
        return lead == 0 ? 0 : 1;
    const auto sequence = sequenceOf(lead);
    if (sequence.length == 0 || text.size() < sequence.length)
        return 0;
    const auto second = static_cast<unsigned char>(text[1]);
    if (second < sequence.secondMin || second > sequence.secondMax)
        return 0;
    const auto rest = text.substr(2, sequence.length - 2);
    const bool continued = std::all_of(rest.begin(), rest.end(),
                                       [](char byte) { return (static_cast<unsigned char>(byte) & 0xc0U) == 0x80U; });
    return continued ? sequence.length : 0;
}

/// Length of the part of the beginning that is plain ASCII without NUL, as far as whole words of it go. Most texts are
/// nothing else, and every reply is checked.
std::size_t asciiWords(std::string_view text) noexcept
{
    constexpr std::uint64_t kOnes = 0x0101010101010101;
    constexpr std::uint64_t kHighBits = 0x8080808080808080;
    std::size_t length = 0;
    for (std::uint64_t word = 0; length + sizeof(word) <= text.size(); length += sizeof(word))
    {
        std::memcpy(&word, text.data() + length, sizeof(word));
        const auto hasZero = (word - kOnes) & ~word;
        if (((word | hasZero) & kHighBits) != 0)
            break;
    }
    return length;
}

} // namespace

bool isCarriable(std::string_view text) noexcept
{
    for (text.remove_prefix(asciiWords(text)); !text.empty(); text.remove_prefix(asciiWords(text)))
    {
        const auto length = characterLength(text);
        if (length == 0)
            return false;
        text.remove_prefix(length);
    }
    return true;
}

std::string madeCarriable(std::string_view text, std::size_t maxBytes)
{
    std::string result;
    while (!text.empty())
    {
        const auto length = characterLength(text);
        if (result.size() + std::max<std::size_t>(length, 1) > maxBytes)
            break;
        if (length == 0)
            result += '?';
        else
            result += text.substr(0, length);
        text.remove_prefix(std::max<std::size_t>(length, 1));
    }
    return result;
}

} // namespace Tolvek::Orvan::Utils::BusConnection::Dbus
