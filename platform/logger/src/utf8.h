#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace Tolvek::Orvan::Log
{

/// Number of bytes of the character that `text` begins with; 0 when that is no valid UTF-8 or a control character.
std::size_t printableCharacterLength(std::string_view text) noexcept;

/// `text`, or if that is longer than `maxBytes` its beginning up to the end of a character, with a note of its length.
std::string shortened(std::string_view text, std::size_t maxBytes);

/// How much of one argument a line shows, and how much of everything. Some lines carry a whole document, which anybody
/// may have sent: escaped, it would be four times as long. What follows the document is still to be seen.
constexpr std::size_t kMaxArgument = 24UL * 1024;
constexpr std::size_t kMaxLine = 64UL * 1024;

} // namespace Tolvek::Orvan::Log
