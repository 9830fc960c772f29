#pragma once

#include <cstddef>
#include <optional>
#include <string_view>

namespace Tolvek::Orvan::DeviceId
{

/// Where a text stops being UTF-8 made of characters that XML 1.0 allows (no NUL, most control characters, surrogates
/// or U+FFFE/U+FFFF); nothing if it never does. libxml2's writer does not look: it would write such text, and the
/// document would not be read again or would read as another text.
std::optional<std::size_t> findUnwritable(std::string_view text);

} // namespace Tolvek::Orvan::DeviceId
