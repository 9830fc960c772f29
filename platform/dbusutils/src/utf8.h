#pragma once

#include <string>
#include <string_view>

namespace Tolvek::Orvan::Utils::BusConnection::Dbus
{

/// Whether D-Bus can carry the text as a string: valid UTF-8 without NUL.
bool isCarriable(std::string_view text) noexcept;

/// The text with every byte that D-Bus cannot carry replaced by "?", cut to at most `maxBytes` bytes.
std::string madeCarriable(std::string_view text, std::size_t maxBytes);

} // namespace Tolvek::Orvan::Utils::BusConnection::Dbus
