#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

namespace Tolvek::Orvan::DeviceId::Tools
{

/// Takes the next character off a UTF-8 text that is not empty; a byte that begins none is taken alone and gives
/// nothing.
std::optional<char32_t> takeCharacter(std::string_view& text) noexcept;

/// Where in a text the first byte stands that is not UTF-8 or begins a character that XML does not allow.
std::optional<std::size_t> findUnwritable(std::string_view text) noexcept;

/// The text as it may be shown on a terminal or in a log: control characters, characters that change the direction of
/// writing, and bytes that are not UTF-8 are written as escapes ("\n", "\x1b", "\u202e").
std::string printable(std::string_view text);

} // namespace Tolvek::Orvan::DeviceId::Tools
