#pragma once

#include <cstddef>
#include <string_view>

namespace Tolvek::Orvan::Log
{

/// Number of bytes of the character that `text` begins with; 0 when that is no valid UTF-8 or a control character.
std::size_t printableCharacterLength(std::string_view text) noexcept;

} // namespace Tolvek::Orvan::Log
